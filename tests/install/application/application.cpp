// A complete write cycle, and handlers for the exceptions of the library.
#include <tyr/exception/exception.hpp>
#include <tyr/mek2/model.hpp>

#include "support/everything.hpp"

#include <filesystem>
#include <iostream>
#include <string>
#include <utility>

namespace {

using namespace Tyr::Mek2;
namespace Errors = Tyr::Exception;

void writeWholeModel(const std::string& path) {
    Model model;
    model.saveTo(path, SaverOptions{true, "application"});
    Testing::Everything().addTo(model);
    Model owner(std::move(model));
    owner.close();
}

/// @return the number of exceptions that the handler does not catch, 0 or 1
template <class Caught, class Action>
int missed(const char* what, const Action& action) {
    try {
        action();
    } catch (const Caught&) {
        return 0;
    } catch (...) {
    }
    std::cerr << "not caught by its class: " << what << '\n';
    return 1;
}

/// The exception types are those of the library.
int missedErrors(const std::string& path) {
    Model model;
    const auto saveAgain = [&] { model.saveTo(path, SaverOptions{true, "application"}); };
    saveAgain();
    model.addNode(NodeType::RootGroup, "root");
    return missed<Errors::InvalidObjectState>("a second file at once", saveAgain) +
           missed<std::exception>("std::exception", saveAgain) +
           missed<boost::exception>("boost::exception", saveAgain) +
           missed<Errors::FileWriteException>("a full disk", [] {
               Model full;
               full.saveTo("/dev/full", SaverOptions{true, "application"});
               full.close();
           });
}

} // namespace

int main(int argc, char** argv) {
    const std::string folder = argc == 2 ? argv[1] : ".";
    std::filesystem::create_directories(folder);
    writeWholeModel(folder + "/whole.mek");
    return missedErrors(folder + "/errors.mek") == 0 ? 0 : 1;
}
