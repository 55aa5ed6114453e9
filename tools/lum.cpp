// `lum`: the command line of lum_lib. Finds the subcommand, parses its
// options against what it declares, prints help, and turns failures into a
// message on standard error and a non-zero exit.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

#include "cli.hpp"

using namespace lum::cli;

namespace {

std::string overview() {
    std::string text =
        "usage: lum COMMAND [OPTIONS] ARGUMENTS...\n\n"
        "Image processing and measurement on PNG files (8- and 16-bit, grey and RGB)\n"
        "with lum_lib.\n\ncommands:\n";
    std::vector<const Command*> sorted;
    for (const Command& c : commands()) sorted.push_back(&c);
    std::sort(sorted.begin(), sorted.end(), [](const Command* a, const Command* b) { return a->name < b->name; });
    for (const Command* c : sorted) {
        char line[160];
        std::snprintf(line, sizeof line, "  %-11s %s\n", c->name.c_str(), c->summary.c_str());
        text += line;
    }
    return text + "\n'lum COMMAND --help' explains a command.\n";
}

void print_command_help(const Command& c) {
    print("usage: lum %s [OPTIONS] %s\n\n%s\n", c.name.c_str(), c.arguments.c_str(), c.summary.c_str());
    if (!c.details.empty()) print("\n%s\n", c.details.c_str());
    print("\noptions:\n");
    for (const std::vector<Option>* list : {&c.options, &common_options()})
        for (const Option& o : *list) {
            std::string left = "--" + o.name + (o.value_name.empty() ? "" : " " + o.value_name);
            print("  %-20s %s\n", left.c_str(), o.help.c_str());
        }
    print("  %-20s %s\n", "-h, --help", "show this help");
}

const Option* find_option(const Command& c, const std::string& name) {
    for (const std::vector<Option>* list : {&c.options, &common_options()})
        for (const Option& o : *list)
            if (o.name == name) return &o;
    return nullptr;
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
        const Option* it = find_option(c, name);
        if (!it) throw UsageError("unknown option --" + name);
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

// Standard output belongs to the tool's data. The library prints its failure
// messages with printf, so file 1 becomes a copy of standard error (or
// /dev/null without one) before any library call, and the original standard
// output is kept aside for the tool; returns that descriptor (-1 if closed).
int keep_standard_output() {
    const int data = ::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3);
    if (::dup2(STDERR_FILENO, STDOUT_FILENO) < 0) {
        const int null = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
        if (null > STDOUT_FILENO) {
            ::dup2(null, STDOUT_FILENO);
            ::close(null);
        }
    }
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    return data;
}

// Writes what the command printed; 0, or 1 after saying why it could not.
int flush_output(int data, const char* name) {
    const std::string& text = pending_output();
    size_t done = 0;
    while (done < text.size()) {
        const ssize_t n = data >= 0 ? ::write(data, text.data() + done, text.size() - done) : -1;
        if (n < 0 && errno == EINTR) continue;
        if (n <= 0) {
            std::fprintf(stderr, "lum %s: standard output: %s\n", name, std::strerror(data >= 0 ? errno : EBADF));
            return 1;
        }
        done += static_cast<size_t>(n);
    }
    return 0;
}

int run(int argc, char** argv) {
    if (argc < 2 || !std::strcmp(argv[1], "--help") || !std::strcmp(argv[1], "-h") || !std::strcmp(argv[1], "help")) {
        if (argc >= 3 && !std::strcmp(argv[1], "help")) {
            for (const Command& c : commands())
                if (c.name == argv[2]) {
                    print_command_help(c);
                    return 0;
                }
        }
        if (argc < 2) {
            std::fputs(overview().c_str(), stderr);
            return 2;
        }
        print("%s", overview().c_str());
        return 0;
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
        if (args.has("max-pixels")) {
            const long limit = args.integer("max-pixels", 0);
            if (limit < 1) throw UsageError("--max-pixels must be at least 1");
            max_pixels() = static_cast<uint64_t>(limit);
        }
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

}  // namespace

int main(int argc, char** argv) {
    const int data = keep_standard_output();
    int status = run(argc, argv);
    if (status == 0) status = flush_output(data, argc >= 2 ? argv[1] : "");
    // A failed command's partial output is dropped: its data would be incomplete.
    return status;
}
