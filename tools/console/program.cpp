#include "console/program.hpp"

#include "console/arguments.hpp"
#include "console/error.hpp"
#include "console/unfinishedfiles.hpp"

#include <tyr/version.hpp>

#include <algorithm>
#include <array>
#include <cerrno>
#include <exception>
#include <filesystem>
#include <iostream>
#include <memory>
#include <new>
#include <utility>
#include <vector>

#if !defined(_WIN32)
#include <fcntl.h>
#endif

namespace Console {

namespace {

constexpr std::size_t helpColumn = 22;

/// Otherwise the first file that the program opens gets the number of a closed standard stream, and
/// messages go into that file. Reads and writes of the replacement fail as those of a closed
/// stream.
void occupyStandardStreams() {
#if !defined(_WIN32)
    constexpr std::array<int, 3> access{O_WRONLY, O_RDONLY, O_RDONLY};
    for (int stream = 0; stream < static_cast<int>(access.size()); ++stream) {
        // NOLINTBEGIN(cppcoreguidelines-pro-type-vararg): the system's interface
        if (fcntl(stream, F_GETFD) == -1) {
            open("/dev/null", access[static_cast<std::size_t>(stream)]); // gets the lowest number
        }
        // NOLINTEND(cppcoreguidelines-pro-type-vararg)
    }
#endif
}

/// Shows options as manuals do: "-h, --help" and "--vtu DIR".
class HelpFormatter : public CLI::Formatter {
public:
    HelpFormatter() {
        column_width(helpColumn);
        label("Positionals", "Operands");
    }

    std::string make_option_name(const CLI::Option* option, bool isPositional) const override {
        const std::string name = CLI::Formatter::make_option_name(option, isPositional);
        const std::size_t comma = name.find(',');
        return comma == std::string::npos ? name
                                          : name.substr(0, comma) + ", " + name.substr(comma + 1);
    }

    std::string make_option_opts(const CLI::Option* option) const override {
        const bool hasValue = option->nonpositional() && option->get_type_size() != 0;
        return hasValue ? " " + option->get_type_name() : "";
    }
};

bool startsWith(const std::string& text, const std::string& start) {
    return text.compare(0, start.size(), start) == 0;
}

bool isFlag(const CLI::Option* option) {
    return option != nullptr && option->get_items_expected_max() == 0;
}

/// Refuses what CLI11 accepts: an empty argument, the argument after "--name=" as the value, and
/// "--flag=true".
void checkValues(const CLI::App& app, const std::vector<std::string>& arguments) {
    const auto end = std::find(arguments.begin(), arguments.end(), "--");
    if (std::find(arguments.begin(), arguments.end(), "") != arguments.end()) {
        throw UsageError("an argument is empty");
    }
    for (auto argument = arguments.begin(); argument != end; ++argument) {
        const std::size_t equals = argument->find('=');
        if (!startsWith(*argument, "-") || equals == std::string::npos) {
            continue;
        }
        const std::string name = argument->substr(0, equals);
        if (isFlag(app.get_option_no_throw(name))) {
            throw UsageError(name + " takes no value");
        }
        if (startsWith(name, "--") && equals + 1 == argument->size()) {
            throw UsageError(*argument + " has an empty value");
        }
    }
}

} // namespace

Program::Program(const std::string& name, const std::string& purpose, const std::string& notes,
                 int errorCode)
    : app_(purpose, name), errorCode_(errorCode) {
    app_.allow_windows_style_options(false); // a path may begin with a slash
    app_.formatter(std::make_shared<HelpFormatter>());
    app_.footer(notes);
    app_.set_help_flag("-h,--help", "show this help");
    app_.set_version_flag("-V,--version", name + " " MEKAPI2_VERSION_STRING, "show the version");
}

int Program::run(int count, char** arguments, const std::function<int()>& action) {
    occupyStandardStreams();
    removeUnfinishedFilesOnSignals();
    try {
        std::cout.exceptions(std::ios::badbit);
        const int exitCode = parseAndAct(count, arguments, action);
        std::cout.flush();
        return exitCode;
    } catch (const std::ios_base::failure&) {
        const int reason = errno;
        std::cout.exceptions(std::ios::goodbit);
        if (reason != EPIPE) {
            report("standard output: " + reasonOf(reason));
        }
    } catch (const UsageError& error) {
        return reportUsage(error.what());
    } catch (const std::filesystem::filesystem_error& error) {
        report(error.path1().u8string() + ": " + reasonOf(error.code()));
    } catch (const std::bad_alloc&) {
        report("not enough memory");
    } catch (const std::exception& error) {
        report(error.what());
    }
    return errorCode_;
}

void Program::report(const std::string& message) const {
    std::cout.flush(); // what was printed before comes first
    std::cerr << printable(app_.get_name() + ": " + message) + '\n';
}

int Program::parseAndAct(int count, char** arguments, const std::function<int()>& action) {
    std::vector<std::string> reversed = Console::arguments(count, arguments);
    checkValues(app_, reversed);
    std::reverse(reversed.begin(), reversed.end());
    try {
        app_.parse(std::move(reversed));
    } catch (const CLI::CallForHelp&) {
        std::cout << app_.help();
        return exitDone;
    } catch (const CLI::CallForVersion& version) {
        std::cout << version.what() << '\n';
        return exitDone;
    } catch (const CLI::ArgumentMismatch& error) {
        return reportUsage(messageOf(error));
    } catch (const CLI::ParseError& error) {
        return reportUsage(messageOf(error));
    }
    return action();
}

int Program::reportUsage(const std::string& message) const {
    report(message + "; see " + app_.get_name() + " --help");
    return exitUsage;
}

std::string Program::messageOf(const CLI::ParseError& error) const {
    const std::string unexpected = unexpectedArgument();
    return unexpected.empty() ? error.what() : unexpected;
}

/// CLI11's message begins with the name of the option.
std::string Program::messageOf(const CLI::ArgumentMismatch& error) const {
    std::string message = error.what();
    for (const CLI::Option* const option : app_.get_options()) {
        const std::string name = option->get_name();
        if (startsWith(message, name + ": ")) {
            const bool isOne = option->get_type_size() == 1;
            return option->count() > 1
                       ? name + " is given twice"
                       : name + (isOne ? " needs a value " : " needs ") + option->get_type_name();
        }
    }
    return message;
}

/// An argument that is no known option and no operand; empty if there is none.
std::string Program::unexpectedArgument() const {
    std::string operand;
    bool areOptions = true;
    for (const std::string& argument : app_.remaining()) {
        if (areOptions && argument == "--") {
            areOptions = false;
        } else if (areOptions && argument.size() > 1 && argument.front() == '-') {
            return "unknown option " + argument;
        } else {
            operand = argument;
        }
    }
    return operand.empty() ? "" : "too many arguments: " + operand;
}

} // namespace Console
