/// @file
/// An application that uses every public operation, with its reaction to an error.
#pragma once

#include <tyr/exception/exception.hpp>
#include <tyr/mek2/model.hpp>

#include "fault/faults.hpp"
#include "mekreader/error.hpp"
#include "mekreader/model.hpp"
#include "support/everything.hpp"
#include "support/testing.hpp"

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <new>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace Testing {

/// Nodes by their names, and the values of their variables.
using Content = std::map<std::string, std::vector<std::uint32_t>>;

inline Content contentOf(const std::string& path) {
    Content content;
    MekReader::check(path);
    MekReader::File file(path);
    for (const MekReader::Node& node : file.nodes()) {
        content[node.name];
        for (const MekReader::Variable& variable : node.variables) {
            if (!file.hasCircularLinks(variable)) {
                content[node.name + '/' + variable.name] = file.words(variable);
            }
        }
    }
    return content;
}

/// Repeats recorded writes, and calls `check` with the number of the write after each `step` bytes
/// until a check fails.
template <class Check>
void replay(const std::vector<RecordedWrite>& writes, std::size_t step, const Check& check) {
    for (std::size_t number = 0; number < writes.size(); ++number) {
        const auto& [file, start, bytes] = writes[number];
        std::ofstream(file, std::ios::app).flush();
        std::fstream stream(file, std::ios::binary | std::ios::in | std::ios::out);
        for (std::size_t done = 0; done < bytes.size() && !::testing::Test::HasFailure();
             done += step) {
            stream.seekp(static_cast<std::streamoff>(start + done));
            stream << bytes.substr(done, step) << std::flush;
            check(number);
        }
    }
}

inline std::int64_t openFiles() {
    const std::filesystem::directory_iterator files("/proc/self/fd");
    return std::distance(begin(files), end(files));
}

/// What the application does after an error.
enum class Reaction {
    GoOn,   ///< tries all further operations, then closes
    Close,  ///< closes at once
    Destroy ///< destroys the model; it never closes, also without an error
};

struct ReportedError {
    std::string operation;
    std::string message; ///< code and message of the exception; "0 " for `std::bad_alloc`
};

/// Calls the library and keeps its errors.
class Application {
public:
    template <class Action>
    bool attempt(const std::string& operation, const Action& action) {
        try {
            const LibraryCall call;
            action();
            return true;
        } catch (const Tyr::Exception::Exception& error) {
            errors.push_back({operation, std::to_string(error.code()) + ' ' + error.what()});
        } catch (const std::bad_alloc&) {
            errors.push_back({operation, "0 "});
        }
        return false;
    }

    std::vector<ReportedError> errors;
};

/// One write cycle as the application saw it.
struct Cycle {
    std::string path;
    unsigned int results;
    bool isOpen = false;                     ///< `saveTo` returned
    bool isClosed = false;                   ///< `close` returned
    std::set<std::string> expectedContent{}; ///< of operations that returned
};

/// What an application saw of its write cycles.
class SeenCycles : public Application {
public:
    explicit SeenCycles(std::vector<Cycle> given) : cycles(std::move(given)) {}

    std::vector<Cycle> cycles;
};

/// Write cycles of one model.
/// @tparam Writer `Model`, or a class with its operations
template <class Writer>
class WriteCyclesOf : public SeenCycles {
public:
    /// With blocks of 200 bytes each array has a block, and 22 results need an index block.
    WriteCyclesOf(const std::string& folder, Reaction reaction, unsigned int results = 22,
                  const ParallelFor& parallelFor = {})
        : SeenCycles({{folder + "/first", results}, {folder + "/second", 1}}), reaction_(reaction) {
        options_.parallelFor = parallelFor;
    }

    void run(std::size_t count = 2) {
        cycles.resize(count);
        for (Cycle& cycle : cycles) {
            std::filesystem::remove(cycle.path);
            if (!model_ && !attempt("Model", [&] { model_ = std::make_unique<Writer>(); })) {
                hasStopped_ = false;
                model_ = std::make_unique<Writer>();
            }
            cycle.isOpen = attempt("saveTo", [&] { model_->saveTo(cycle.path, options_); });
            if (cycle.isOpen) {
                useValues();
                addEverything(cycle);
            }
            end(cycle);
        }
    }

    /// One more write cycle, in which no error is expected.
    void runAgain(const std::string& path) {
        if (!model_) {
            model_ = std::make_unique<Writer>();
        }
        model_->saveTo(path, options_);
        Everything(1).addTo(*model_);
        model_->close();
        model_.reset();
    }

private:
    template <class Action>
    bool attempt(const std::string& operation, const Action& action) {
        const bool hasReturned = !hasStopped_ && Application::attempt(operation, action);
        hasStopped_ = hasStopped_ || (!hasReturned && reaction_ != Reaction::GoOn);
        return hasReturned;
    }

    void addEverything(Cycle& cycle) {
        Everything(cycle.results, [&](const std::string& content, const auto& operation) {
            const bool hasReturned = attempt(content, operation);
            if (hasReturned) {
                cycle.expectedContent.insert(content);
            }
            return hasReturned;
        }).addTo(*model_);
    }

    /// Copies the values of the interface, and moves the model with its open write cycle.
    void useValues() {
        attempt("values", [] {
            const auto copyTo = [](auto target, const auto& value) {
                const auto copy(value);
                target = copy;
            };
            Attributes attributes;
            attributes.set("a string with a long key", "a string that needs an allocation");
            attributes.set("a vector", std::vector<float>(7));
            NodeProperties properties;
            properties.set(PropertyType::Shininess, "a string, which is invalid");
            StepList steps(1);
            steps.set(0, Step{"a step with a long name", attributes});
            copyTo(Step(), steps[0]);
            copyTo(steps, StepList(2));
            copyTo(Attributes(), attributes);
            copyTo(NodeProperties(), properties);
            copyTo(Array1d<float>(2), Array1d<float>(60));
            copyTo(Array2d<unsigned int>(20, 6), Array2d<unsigned int>(1, 2));
        });
        attempt("move construction", [&] {
            auto next = std::make_unique<Writer>(std::move(*model_));
            model_.swap(next);
        });
        attempt("move assignment", [&] {
            auto next = std::make_unique<Writer>();
            *next = std::move(*model_);
            model_.swap(next);
        });
    }

    void end(Cycle& cycle) {
        hasStopped_ = false;
        if (reaction_ == Reaction::Destroy) {
            attempt("destruction", [&] { model_.reset(); });
        } else {
            cycle.isClosed = attempt("close", [&] { model_->close(); });
            hasStopped_ = false;
            attempt("close after close", [&] { model_->close(); });
        }
        hasStopped_ = false;
    }

    Reaction reaction_;
    SaverOptions options_{true, "a tool with a long name", "a version with a long name"};
    bool hasStopped_ = false;
    std::unique_ptr<Writer> model_;
};

using WriteCycles = WriteCyclesOf<Model>;

/// A test of the file of one write cycle.
class WrittenFileTest : public FolderTest {
protected:
    /// One result makes a file with one index table, 22 make one with two, and 230 one with three
    /// of which blocks are written early.
    void write(unsigned int results) {
        const BlockSizeVariable blockSize(results == 1 ? nullptr : "200");
        WriteCycles(folder.string(), Reaction::GoOn, results).run(1);
        file_ = std::fstream(path("first"), std::ios::binary | std::ios::out | std::ios::in);
    }

    void overwrite(std::size_t position, const std::string& bytes) {
        file_.seekp(static_cast<std::streamoff>(position));
        file_.write(bytes.data(), static_cast<std::streamsize>(bytes.size())).flush();
    }

    std::string checkError() const {
        return messageOf<MekReader::Error>([&] { MekReader::check(path("first")); });
    }

    std::string written() const { return readFile(path("first")); }

private:
    std::fstream file_;
};

} // namespace Testing
