// A complete write cycle, and handlers for the exceptions of the library.
#include "application.hpp"

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

/// The exception types are those of the library, also if a module was loaded with it.
int missedErrors(const std::string& path) {
    Model model;
    const auto saveAgain = [&] { model.saveTo(path, SaverOptions{true, "application"}); };
    saveAgain();
    model.addNode(NodeType::RootGroup, "root");
    const Array1d<float> values(1);
    return missed<Errors::InvalidObjectState>("a second file at once", saveAgain) +
           missed<Errors::Base>("Base", saveAgain) +
           missed<std::exception>("std::exception", saveAgain) +
           missed<boost::exception>("boost::exception", saveAgain) +
           missed<Errors::FileOpenException>("a file that exists", [&] { Model().saveTo(path); }) +
           missed<Errors::KeyNotFound>(
               "an unknown id",
               [&] { model.addArrayProperty(DatasetType::NodeIds, values, 9U, Step{}); }) +
           missed<Errors::FileWriteException>("a full disk", [] {
               Model full;
               full.saveTo("/dev/full", SaverOptions{true, "application"});
               full.close();
           });
}

} // namespace

int runApplication(const char* folder) {
    std::filesystem::create_directories(folder);
    writeWholeModel(std::string(folder) + "/whole.mek");
    return missedErrors(std::string(folder) + "/errors.mek") == 0 ? 0 : 1;
}
