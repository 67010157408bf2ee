/// @file
/// mekinfo: shows the content of model files, checks them, or exports them for VTK.
#include "console/program.hpp"
#include "mekinfo/commandline.hpp"
#include "mekinfo/inspector.hpp"

#include <string>

int main(int count, char** arguments) {
    Console::Program program("mekinfo", MekInfo::purpose, MekInfo::notes);
    MekInfo::CommandLine commandLine;
    MekInfo::declareOptions(program.commandLine(), commandLine);
    return program.run(count, arguments, [&] {
        MekInfo::Inspector inspector(commandLine,
                                     [&](const std::string& line) { program.report(line); });
        return inspector.inspectAll() ? Console::exitDone : Console::exitError;
    });
}
