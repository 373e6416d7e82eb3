// Writes the sample main tree that README.md lists: sample_tree FILE.
#include "examples/grammar.h"

#include <cstdio>
#include <exception>

namespace {

using grammar::keyword;
using grammar::parameter;
using grammar::Word;

constexpr uint32_t kLine = 0x00000002;
constexpr uint32_t kIpv4Address = 0x40000002;
constexpr uint32_t kInteger = 0x40100001;
constexpr uint32_t kIntegerOrRange = 0x40100003;
constexpr uint32_t kInterface = 0x40200001;
constexpr uint32_t kWwn = 0x40300002;
constexpr uint32_t kFcId = 0x40600001;

Word show() {
    const Word interface = parameter(kInterface).named("show_interface_name").optional().terminal();
    return keyword("show")
        .child(keyword("version").terminal())
        .child(keyword("interface").named("show_interface").terminal().child(interface))
        .child(keyword("flogi").child(
            keyword("database").terminal().child(parameter(kFcId).named("show_fcid").terminal())));
}

Word interface() {
    const Word no_shutdown =
        keyword("no").named("if_no").child(keyword("shutdown").named("if_no_shutdown").terminal());
    return keyword("interface")
        .child(parameter(kInterface)
                   .named("interface_name")
                   .submode()
                   .child(keyword("shutdown").named("if_shutdown").terminal())
                   .child(no_shutdown)
                   .child(keyword("description")
                              .child(parameter(kLine).named("description_text").terminal()))
                   .child(keyword("address").child(
                       parameter(kIpv4Address).named("if_address").terminal())));
}

Word zone() {
    const Word member = keyword("member").child(parameter(kWwn).named("member_pwwn").terminal());
    return keyword("zone").child(
        keyword("name").child(parameter(0x00000001).named("zone_name").submode().child(member)));
}

Word vlan() {
    return keyword("vlan").child(parameter(kIntegerOrRange).named("vlan_ids").terminal());
}

Word terminal_length() {
    return keyword("terminal")
        .child(keyword("length").child(parameter(kInteger).named("lines").terminal()));
}

} // namespace

int main(int argc, char **argv) {
    if (argc != 2) {
        fputs("usage: sample_tree FILE\n", stderr);
        return 1;
    }
    try {
        grammar::write_main_tree(argv[1],
                                 grammar::lay_out(grammar::main_root(
                                     {show(), interface(), zone(), vlan(), terminal_length()})));
    } catch (const std::exception &error) {
        fprintf(stderr, "sample_tree: %s\n", error.what());
        return 1;
    }
    return 0;
}
