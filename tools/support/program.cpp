// Common frame of the tools. The program name is the only state.
#include "tools/support/program.h"

#include "base/escape.h"

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <getopt.h>
#include <new>
#include <stdexcept>
#include <string>

namespace tool {

namespace {

const char *program_name = "ocmd";

// Code of options without a short form for getopt_long: above all characters.
constexpr int kFirstUnlettered = 256;

constexpr Option kHelp{'h', "help", nullptr, "Print this help and exit."};
constexpr Option kVersion{0, "version", nullptr, "Print the version and exit."};

std::vector<Option> all_options(const Program &program) {
    std::vector<Option> options{program.options.begin(), program.options.end()};
    options.push_back(kHelp);
    options.push_back(kVersion);
    return options;
}

int code_of(std::span<const Option> options, size_t i) {
    return options[i].letter != 0 ? options[i].letter : kFirstUnlettered + static_cast<int>(i);
}

[[gnu::format(printf, 1, 0)]] void report_values(const char *format, va_list values) {
    fflush(stdout); // results first if both streams are the same file
    fprintf(stderr, "%s: ", program_name);
    base::vprint_escaped(stderr, format, values);
    fputc('\n', stderr);
}

int argument_kind(const Option &option) {
    if (option.argument == nullptr)
        return no_argument;
    return option.argument_may_be_omitted ? optional_argument : required_argument;
}

void print_help(const Program &program, std::span<const Option> options) {
    printf("Usage: %s [OPTION...] %s\n\n%s\n\n", program.name, program.operands, program.purpose);
    size_t widest = 0;
    std::vector<std::string> forms;
    for (const Option &option : options) {
        std::string form = option.letter != 0 ? std::string{'-', option.letter} + ", " : "    ";
        form += std::string{"--"} + option.name;
        if (option.argument != nullptr)
            form += (option.argument_may_be_omitted ? "[=" : "=") + std::string{option.argument} +
                    (option.argument_may_be_omitted ? "]" : "");
        widest = std::max(widest, form.size());
        forms.push_back(std::move(form));
    }
    for (size_t i = 0; i < options.size(); ++i)
        printf("  %-*s  %s\n", static_cast<int>(widest), forms[i].c_str(), options[i].help);
}

// Returns kError if the results could not be written completely.
int finish_output(int status) {
    errno = 0;
    if (fflush(stdout) == 0 && ferror(stdout) == 0)
        return status;
    report("standard output: cannot be written: %s", errno == 0 ? "write error" : strerror(errno));
    return kError;
}

int report_no_memory(const Program &program) {
    report("out of memory");
    return program.out_of_memory;
}

} // namespace

const char *CommandLine::value(std::string_view name) const {
    const Given *given = find(name);
    return given == nullptr ? nullptr : given->value;
}

const CommandLine::Given *CommandLine::find(std::string_view name) const {
    const auto last = std::find_if(given_.rbegin(), given_.rend(),
                                   [&](const Given &given) { return given.name == name; });
    return last == given_.rend() ? nullptr : &*last;
}

CommandLine parse(const Program &program, int argc, char **argv) {
    const std::vector<Option> options = all_options(program);
    std::string letters;
    std::vector<option> names;
    for (size_t i = 0; i < options.size(); ++i) {
        const int takes = argument_kind(options[i]);
        names.push_back({options[i].name, takes, nullptr, code_of(options, i)});
        if (options[i].letter != 0)
            (letters += options[i].letter) += takes == required_argument ? ":" : "";
    }
    names.push_back({});

    CommandLine line;
    argv[0] = const_cast<char *>(program.name); // getopt_long uses it in its messages
    for (int code = 0;
         (code = getopt_long(argc, argv, letters.c_str(), names.data(), nullptr)) != -1;) {
        if (code == '?') { // getopt_long has printed a message
            fprintf(stderr, "Try '%s --help'.\n", program.name);
            throw Stop{kError};
        }
        const auto found = std::find_if(options.begin(), options.end(), [&](const Option &o) {
            return code_of(options, static_cast<size_t>(&o - options.data())) == code;
        });
        if (found->name == kHelp.name) {
            print_help(program, options);
            throw Stop{kDone};
        }
        if (found->name == kVersion.name) {
            printf("%s %s\n", program.name, TSH_VERSION);
            throw Stop{kDone};
        }
        line.given_.push_back({found->name, found->argument == nullptr ? nullptr : optarg});
    }
    line.operands_ = std::span{argv + optind, static_cast<size_t>(argc - optind)};
    return line;
}

const char *label(Severity severity) {
    constexpr std::array kLabels{"error: ", "warning: ", "note: "};
    return kLabels[static_cast<size_t>(severity)];
}

const char *name_in_messages() {
    return program_name;
}

void report(const char *format, ...) {
    va_list values;
    va_start(values, format);
    report_values(format, values);
    va_end(values);
}

void fail(const char *format, ...) {
    va_list values;
    va_start(values, format);
    report_values(format, values);
    va_end(values);
    throw Stop{kError};
}

void refuse(const char *format, ...) {
    va_list values;
    va_start(values, format);
    report_values(format, values);
    va_end(values);
    fprintf(stderr, "Try '%s --help'.\n", program_name);
    throw Stop{kError};
}

int run(const Program &program, int argc, char **argv, Status (*body)(const CommandLine &line)) {
    program_name = program.name;
    int status = kDone;
    try {
        status = body(parse(program, argc, argv));
    } catch (const Stop &stop) {
        status = stop.status;
    } catch (const std::bad_alloc &) {
        status = report_no_memory(program);
    } catch (const std::length_error &) { // larger than the address space
        status = report_no_memory(program);
    }
    return finish_output(status);
}

} // namespace tool
