// Writes the sample main tree that README.md lists: sample_tree FILE.
#include "examples/grammar.h"

#include <cstdio>
#include <exception>

namespace {

using grammar::keyword;
using grammar::parameter;
using grammar::Word;

constexpr uint32_t kString = 0x00000001;
constexpr uint32_t kLine = 0x00000002;
constexpr uint32_t kIpv4Address = 0x40000002;
constexpr uint32_t kInteger = 0x40100001;
constexpr uint32_t kIntegerOrRange = 0x40100003;
constexpr uint32_t kInterface = 0x40200001;
constexpr uint32_t kWwn = 0x40300002;
constexpr uint32_t kFcId = 0x40600001;

Word show() {
    const Word one_bay = parameter(kInterface).named("show_one_bay").optional().terminal();
    const Word one_guest = parameter(kFcId).named("show_one_guest").terminal();
    return keyword("show")
        .child(keyword("health").terminal())
        .child(keyword("bays").named("show_bays").terminal().child(one_bay))
        .child(keyword("guests").named("show_guests").terminal().child(one_guest));
}

Word bay() {
    const Word commands =
        parameter(kInterface)
            .named("bay_name")
            .submode()
            .child(keyword("rest").named("bay_rest").terminal())
            .child(keyword("wake").named("bay_wake").terminal())
            .child(keyword("label")
                       .named("bay_label")
                       .child(parameter(kLine).named("bay_label_text").terminal()))
            .child(keyword("home")
                       .named("bay_home")
                       .child(parameter(kIpv4Address).named("bay_home_address").terminal()));
    return keyword("bay").child(commands);
}

Word ward() {
    const Word admit = keyword("admit").child(parameter(kWwn).named("admitted_wwn").terminal());
    return keyword("ward").child(parameter(kString).named("ward_name").submode().child(admit));
}

Word lane() {
    return keyword("lane").child(parameter(kIntegerOrRange).named("lane_numbers").terminal());
}

Word pace() {
    return keyword("pace").child(parameter(kInteger).named("pace_of_output").terminal());
}

} // namespace

int main(int argc, char **argv) {
    if (argc != 2) {
        fputs("usage: sample_tree FILE\n", stderr);
        return 1;
    }
    try {
        grammar::write_main_tree(
            argv[1], grammar::lay_out(grammar::main_root({show(), bay(), ward(), lane(), pace()})));
    } catch (const std::exception &error) {
        fprintf(stderr, "sample_tree: %s\n", error.what());
        return 1;
    }
    return 0;
}
