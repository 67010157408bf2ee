/// @file
/// An application with a journal that makes a checkpoint after each operation, and the check of
/// what a recovery gives.
#pragma once

#include <tyr/mek2/recovery.hpp>

#include "fault/writecycles.hpp"

#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace Testing {

/// One write cycle. Goes on after each error.
/// @tparam Writer `Model`, or a class with its operations
template <class Writer>
class CheckpointedRunOf : public Application {
public:
    CheckpointedRunOf(std::string path, unsigned int results, bool replaces = false)
        : path_(std::move(path)), results_(results) {
        options.journal = true;
        options.replaceWhenComplete = replaces;
    }

    bool start() {
        return attempt("Model", [&] { model = std::make_unique<Writer>(); }) &&
               attempt("saveTo", [&] { model->saveTo(path_, options); });
    }

    /// Every operation, and calls that fail in part.
    void addEverything() {
        Everything(results_, [&](const std::string& content, const auto& operation) {
            const bool hasReturned = attempt(content, operation);
            if (hasReturned) {
                given.insert(content);
            }
            checkpoint();
            return hasReturned;
        }).addTo(*model);
        addRefused();
    }

    bool checkpoint(Durability durability = Durability::Process) {
        const bool isDone = attempt("checkpoint", [&] { model->checkpoint(durability); });
        if (isDone) {
            promised = given;
            onCheckpoint();
        }
        return isDone;
    }

    bool close() {
        return attempt("close", [&] { model->close(); });
    }

    bool run() {
        if (!start()) {
            return false;
        }
        addEverything();
        return close();
    }

    SaverOptions options{true, "a tool with a long name", "1"};
    std::unique_ptr<Writer> model;
    std::set<std::string> given;    ///< content of operations that returned
    std::set<std::string> promised; ///< at the last checkpoint
    std::function<void()> onCheckpoint = [] {};

private:
    void refuse(const std::function<void(Writer&)>& call) {
        attempt("refused", [&] { call(*model); });
        checkpoint();
    }

    /// Ids are those of a run without other errors.
    void addRefused() {
        constexpr unsigned int group = 2;
        constexpr unsigned int body = 4;
        constexpr unsigned int skin = 6;
        constexpr unsigned int unknown = 99;
        Attributes good;
        good.set("good", "a value that needs an allocation");
        Attributes bad = good;
        bad.set("vector", std::vector<float>(7));
        refuse([&](Writer& to) {
            NodeProperties properties;
            properties.set(PropertyType::Translation, std::vector<float>{7, 8, 9});
            properties.set(PropertyType::Rotation, std::vector<float>{1});
            to.setNodeData(group, properties, good);
        });
        refuse([&](Writer& to) {
            to.addAssemblyComponents({rootPath + "/half/", rootPath + "/half/shape", "relative"});
        });
        refuse([&](Writer& to) {
            to.addAssemblyComponents(
                std::map<std::string, Attributes>{{rootPath + "/half/", good},
                                                  {rootPath + "/new/", good},
                                                  {rootPath + "/part of long name/", bad}});
        });
        StepList steps(3);
        steps.set(0, Step{"kept"});
        steps.set(1, Step{"refused", bad});
        const Array1d<float> values({1, 2, 3, 4});
        refuse([&](Writer& to) {
            to.addArrayProperty("in part", DatasetType::ResultA1, values,
                                Array1d<unsigned int>{body, skin, unknown}, Step{}, good);
        });
        refuse([&](Writer& to) {
            to.addArrayProperty("in part", DatasetType::ResultA1, values,
                                Array1d<unsigned int>{group, skin}, steps);
        });
    }

    std::string path_;
    unsigned int results_;
};

using CheckpointedRun = CheckpointedRunOf<Model>;

/// A test that recovers the file "first" as "recovered".
class RecoveryTest : public FolderTest {
protected:
    void runWithoutFault(unsigned int results) {
        CheckpointedRun run(path("complete"), results);
        EXPECT_TRUE(run.run());
        for (const ReportedError& error : run.errors) {
            EXPECT_EQ(error.operation, "refused") << error.message;
        }
        EXPECT_EQ(run.errors.size(), 5U);
        EXPECT_EQ(run.promised, run.given);
        completeBytes = readFile(path("complete"));
        complete = contentOf(path("complete"));
        recoveredBytes.clear();
        EXPECT_FALSE(std::filesystem::exists(path("complete.journal")));
    }

    /// @return the message of the exception; an empty string if there is a recovered file
    std::string recoverFirst() {
        try {
            report = recover(path("first"), path("recovered"), true);
            return "";
        } catch (const Tyr::Exception::Exception& error) {
            return error.what();
        }
    }

    /// Whether the recovered file has all that was promised, and nothing that was not given.
    /// @return the error, or an empty string
    std::string recoveryError(const std::set<std::string>& promised) {
        const std::string failure = recoverFirst();
        if (!failure.empty()) {
            return promised.empty() ? "" : failure;
        }
        std::string bytes = readFile(path("recovered"));
        if (bytes != recoveredBytes) {
            const std::string error =
                messageOf<MekReader::Error>([&] { recovered = contentOf(path("recovered")); });
            if (error != "no error") {
                return error;
            }
            recoveredBytes = std::move(bytes);
        }
        for (const auto& [name, values] : recovered) {
            const auto found = complete.find(name); // a file without nodes has a root without name
            if (!name.empty() && (found == complete.end() || found->second != values)) {
                return name + " was not given";
            }
        }
        for (const std::string& name : promised) {
            if (complete.count(name) != 0 && recovered.count(name) == 0) {
                return name + " is lost: " + report.reason;
            }
        }
        return "";
    }

    /// Frees the memory of the last recovery.
    void forgetRecovery() {
        recovered.clear();
        recoveredBytes.clear();
        recoveredBytes.shrink_to_fit();
        report = RecoveryReport();
        report.reason.shrink_to_fit();
    }

    RecoveryReport report;
    Content complete;          ///< of a run without faults
    std::string completeBytes; ///< of its file
    Content recovered;
    std::string recoveredBytes;
};

} // namespace Testing
