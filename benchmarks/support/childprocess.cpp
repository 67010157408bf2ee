#include "support/childprocess.hpp"

#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdio>
#include <exception>
#include <stdexcept>

namespace Bench {

namespace {

/// Runs `child` in a fork of this process and returns its standard output.
std::string outputOfChild(const std::function<void()>& child, const std::string& name) {
    std::array<int, 2> ends{};
    std::fflush(nullptr);
    if (pipe(ends.data()) != 0) {
        throw std::runtime_error("no pipe for " + name);
    }
    const pid_t id = fork();
    if (id == 0) {
        dup2(ends[1], STDOUT_FILENO);
        close(ends[0]);
        close(ends[1]);
        child();
        _exit(1); // `child` returns only on an error
    }
    close(ends[1]);
    std::string output;
    std::array<char, 4096> buffer{};
    for (ssize_t got = 0; (got = read(ends[0], buffer.data(), buffer.size())) > 0;) {
        output.append(buffer.data(), static_cast<std::size_t>(got));
    }
    close(ends[0]);
    int status = 0;
    if (id < 0 || waitpid(id, &status, 0) != id || status != 0) {
        throw std::runtime_error(name + " failed");
    }
    return output;
}

} // namespace

std::string outputOf(const std::vector<std::string>& command) {
    const auto execute = [&command] {
        std::vector<char*> arguments;
        for (const std::string& argument : command) {
            arguments.push_back(const_cast<char*>(argument.c_str()));
        }
        arguments.push_back(nullptr);
        execv(arguments.front(), arguments.data());
    };
    return outputOfChild(execute, command.front());
}

std::string outputOfCopy(const std::function<std::string()>& action) {
    const auto report = [&action] {
        try {
            std::fputs(action().c_str(), stdout);
            std::fflush(stdout);
            _exit(0);
        } catch (const std::exception& error) {
            std::fprintf(stderr, "%s\n", error.what());
        }
    };
    return outputOfChild(report, "the measurement");
}

} // namespace Bench
