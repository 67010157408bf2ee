/// @file
/// mekrecover: makes a complete model file of an unfinished one.
#include "console/program.hpp"
#include "mekrecover/blocks.hpp"
#include "mekrecover/commandline.hpp"
#include "mekrecover/recovery.hpp"

#include <string>

int main(int count, char** arguments) {
    Console::Program program("mekrecover", MekRecover::purpose, MekRecover::notes);
    MekRecover::CommandLine commandLine;
    MekRecover::declareOptions(program.commandLine(), commandLine);
    return program.run(count, arguments, [&] {
        const auto warn = [&](const std::string& line) { program.report(line); };
        const bool isWhole = commandLine.blocks ? MekRecover::saveBlocks(commandLine, warn)
                                                : MekRecover::recoverModel(commandLine, warn);
        return isWhole ? Console::exitDone : Console::exitError;
    });
}
