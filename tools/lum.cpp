// `lum`: the command line of lum_lib. Finds the subcommand, parses its
// options against what it declares, prints help, and turns failures into a
// message on standard error and a non-zero exit.
#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>
#include <string>

#include "cli.hpp"

using namespace lum::cli;

namespace {

void print_overview(FILE* out) {
    std::fprintf(out,
                 "usage: lum COMMAND [OPTIONS] ARGUMENTS...\n\n"
                 "Image processing and measurement on PNG files (8- and 16-bit, grey and RGB)\n"
                 "with lum_lib.\n\ncommands:\n");
    std::vector<const Command*> sorted;
    for (const Command& c : commands()) sorted.push_back(&c);
    std::sort(sorted.begin(), sorted.end(), [](const Command* a, const Command* b) { return a->name < b->name; });
    for (const Command* c : sorted) std::fprintf(out, "  %-11s %s\n", c->name.c_str(), c->summary.c_str());
    std::fprintf(out, "\n'lum COMMAND --help' explains a command.\n");
}

void print_command_help(const Command& c) {
    std::printf("usage: lum %s%s %s\n\n%s\n", c.name.c_str(), c.options.empty() ? "" : " [OPTIONS]",
                c.arguments.c_str(), c.summary.c_str());
    if (!c.details.empty()) std::printf("\n%s\n", c.details.c_str());
    if (!c.options.empty()) {
        std::printf("\noptions:\n");
        for (const Option& o : c.options) {
            std::string left = "--" + o.name + (o.value_name.empty() ? "" : " " + o.value_name);
            std::printf("  %-20s %s\n", left.c_str(), o.help.c_str());
        }
    }
    std::printf("  %-20s %s\n", "-h, --help", "show this help");
}

Args parse(const Command& c, int argc, char** argv) {
    Args args;
    bool only_positional = false;
    for (int i = 0; i < argc; i += 1) {
        std::string word = argv[i];
        if (only_positional || word.size() < 2 || word[0] != '-' || (word[1] != '-' && !std::isalpha(word[1]))) {
            args.positional.push_back(word);  // also negative numbers
            continue;
        }
        if (word == "--") {
            only_positional = true;
            continue;
        }
        if (word == "-h" || word == "--help") {
            args.options["help"] = "";
            continue;
        }
        if (word[1] != '-') throw UsageError("unknown option " + word);
        std::string name = word.substr(2), value;
        const size_t eq = name.find('=');
        bool has_value = eq != std::string::npos;
        if (has_value) {
            value = name.substr(eq + 1);
            name = name.substr(0, eq);
        }
        const auto it = std::find_if(c.options.begin(), c.options.end(), [&](const Option& o) { return o.name == name; });
        if (it == c.options.end()) throw UsageError("unknown option --" + name);
        if (it->value_name.empty()) {
            if (has_value) throw UsageError("--" + name + " takes no value");
        } else if (!has_value) {
            if (i + 1 >= argc) throw UsageError("--" + name + " needs " + it->value_name);
            value = argv[++i];
        }
        args.options[name] = value;
    }
    return args;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 2 || !std::strcmp(argv[1], "--help") || !std::strcmp(argv[1], "-h") || !std::strcmp(argv[1], "help")) {
        if (argc >= 3 && !std::strcmp(argv[1], "help")) {
            for (const Command& c : commands())
                if (c.name == argv[2]) {
                    print_command_help(c);
                    return 0;
                }
        }
        print_overview(argc < 2 ? stderr : stdout);
        return argc < 2 ? 2 : 0;
    }
    const std::string name = argv[1];
    const auto it = std::find_if(commands().begin(), commands().end(), [&](const Command& c) { return c.name == name; });
    if (it == commands().end()) {
        std::fprintf(stderr, "lum: unknown command '%s' (see 'lum --help')\n", name.c_str());
        return 2;
    }
    const Command& command = *it;
    try {
        const Args args = parse(command, argc - 2, argv + 2);
        if (args.has("help")) {
            print_command_help(command);
            return 0;
        }
        if (args.positional.size() < command.min_positional || args.positional.size() > command.max_positional)
            throw UsageError("expected " + command.arguments);
        return command.run(args);
    } catch (const UsageError& e) {
        std::fprintf(stderr, "lum %s: %s\nusage: lum %s %s (see 'lum %s --help')\n", name.c_str(), e.what(),
                     name.c_str(), command.arguments.c_str(), name.c_str());
        return 2;
    } catch (const Error& e) {
        std::fprintf(stderr, "lum %s: %s\n", name.c_str(), e.what());
        return 1;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "lum %s: %s\n", name.c_str(), e.what());
        return 1;
    }
}
