// What an application does with the library: a whole write cycle, and handlers for its failures.
#include "application.hpp"

#include <tyr/exception/exception.hpp>
#include <tyr/mek2/model.hpp>

#include <boost/exception/get_error_info.hpp>
#include <boost/exception/info.hpp>

#include <cstring>
#include <filesystem>
#include <iostream>
#include <string>
#include <vector>

namespace {

using namespace Tyr::Mek2;
namespace Failures = Tyr::Exception;

int faults = 0;

void expect(bool holds, const std::string& what) {
    if (!holds) {
        std::cerr << "not true: " << what << '\n';
        ++faults;
    }
}

SaverOptions overwriting() {
    SaverOptions options;
    options.overwrite = true;
    options.toolName = "application";
    return options;
}

/// Groups, shapes, links, steps and properties, and with small blocks more than one index table.
void writeWholeModel(const std::string& path) {
    Model model;
    model.saveTo(path, overwriting());
    Attributes attributes;
    attributes.set("text", "value");
    attributes.set("number", 1.5F);
    const std::map<std::string, Attributes> paths = {
        {"/model/part/", attributes}, {"/model/part/a", {}}, {"/model/part/b", {}}};
    const Array1d<unsigned int> ids = model.addAssemblyComponents(paths);
    const std::vector<std::string> names = {"model", "part"};
    expect(model.getNodeId(names) == ids[0], "path of the group");

    NodeProperties look;
    look.set(PropertyType::DiffuseColor, std::vector<float>{0.1F, 0.2F, 0.3F});
    model.setNodeData(ids[1], look);
    model.addArrayProperty(DatasetType::Coordinates, Array2d<float>(500, 3, 2.5F), ids, Step{});
    model.addArrayProperty(DatasetType::NodeIds, Array1d<unsigned int>(500, 7), ids[1], Step{});
    StepList steps(2);
    steps.set(0, Step{"first", attributes});
    for (int i = 0; i < 30; ++i) {
        model.addArrayProperty("result " + std::to_string(i), DatasetType::ResultA1,
                               Array1d<float>(500, 0.5F), ids, steps);
    }
    Model owner(std::move(model));
    owner.close();
}

template <class Caught, class Action>
bool isCaughtAs(const Action& action) {
    try {
        action();
    } catch (const Caught&) {
        return true;
    } catch (...) {
    }
    return false;
}

template <class Failure, class Action>
void expectFailure(int code, const std::string& message, const char* sourceFile,
                   const Action& action) {
    try {
        action();
    } catch (const Failure& failure) {
        const char* const* const file = boost::get_error_info<boost::throw_file>(failure);
        expect(failure.code() == code, "code of: " + message);
        expect(failure.what() == message, "message \"" + message + "\", not " + failure.what());
        expect(file != nullptr && std::strcmp(*file, sourceFile) == 0,
               "source file of: " + message);
        return;
    } catch (...) {
    }
    expect(false, "handler for: " + message);
}

void catchFailures(const std::string& folder) {
    const std::string path = folder + "/failures.mek";
    const std::string missing = folder + "/missing/file.mek";
    Model model;
    const auto saveAgain = [&] { model.saveTo(path, overwriting()); };
    saveAgain();
    model.addNode(NodeType::RootGroup, "root");

    expectFailure<Failures::InvalidObjectState>(17, "Not Empty", "tyr/mek2/database.cpp",
                                                saveAgain);
    expect(isCaughtAs<Failures::Base>(saveAgain), "caught as Base");
    expect(isCaughtAs<std::exception>(saveAgain), "caught as std::exception");
    expect(isCaughtAs<boost::exception>(saveAgain), "caught as boost::exception");
    expectFailure<Failures::FileOpenException>(5, "File exists.", "tyr/qbf/qbfile.cpp",
                                               [&] { Model().saveTo(path); });
    expectFailure<Failures::MiscelleneousException>(2, "Unable to open file \"" + missing + '"',
                                                    "tyr/qbf/qbfile.cpp",
                                                    [&] { Model().saveTo(missing); });
    expectFailure<Failures::InvalidArguments>(3, "Invalid node type", "tyr/mek2/adder/node.cpp",
                                              [&] { model.addNode(NodeType::RootGroup, "again"); });
    expectFailure<Failures::OutOfBounds>(11, "Out of bounds error",
                                         "tyr/mek2/modifier/currentnodeid.cpp",
                                         [&] { model.setCurrentNodeId(9); });
    expectFailure<Failures::NotYetImplemented>(
        20, "Not yet implemented", "tyr/mek2/adder/components.cpp",
        [&] { model.addAssemblyComponents(std::vector<std::string>{"/other/shape"}); });
    NodeProperties wrong;
    wrong.set(PropertyType::Translation, 1);
    expectFailure<Failures::TemplateSpecializationNotDefined>(
        19, "Template specialization not defined", "tyr/variant/visitor/valuegetter.hpp",
        [&] { model.setNodeData(1, wrong); });
    expectFailure<Failures::OverflowError>(
        12, "Overflow error", "tyr/mek2/adder/arrayproperty.cpp", [&] {
            const Array2d<float> tooManyRows(std::size_t{1} << 31, 0);
            model.addArrayProperty(DatasetType::Coordinates, tooManyRows, 1U, Step{});
        });
    expectFailure<Failures::KeyNotFound>(14, "Key not found", "tyr/adt/adttree.hpp", [&] {
        model.addArrayProperty(DatasetType::NodeIds, Array1d<float>(1), 999U, Step{});
    });
    expectFailure<Failures::FileWriteException>(7, "Saving the buffer failed", "tyr/qbf/index.cpp",
                                                [&] {
                                                    Model full;
                                                    full.saveTo("/dev/full", overwriting());
                                                    full.close();
                                                });
}

} // namespace

int runApplication(const char* folder) {
    std::filesystem::create_directories(folder);
    writeWholeModel(std::string(folder) + "/whole.mek");
    catchFailures(folder);
    return faults == 0 ? 0 : 1;
}
