/// @file
/// Write cycles of one model with every public operation, many blocks and an index block.
#pragma once

#include <tyr/exception/exception.hpp>
#include <tyr/mek2/model.hpp>

#include "fault/faults.hpp"
#include "support/everything.hpp"

#include <memory>
#include <new>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace Testing {

/// What the application does when an operation has failed.
enum class Reaction {
    GoOn,   ///< goes on with what the failure left possible, and closes
    Close,  ///< closes at once
    Destroy ///< destroys the model, as it also does without a failure
};

/// A failure that reached the application.
struct Heard {
    std::string operation;
    std::string failure; ///< code of the class and message; "0 " for `std::bad_alloc`
};

/// One write cycle as the application saw it.
struct Cycle {
    std::string path;
    unsigned int results;
    bool isOpen = false;          ///< `saveTo` returned
    bool isClosed = false;        ///< `close` returned
    std::set<std::string> left{}; ///< by operations that returned
};

class WriteCycles {
public:
    /// Blocks of 200 bytes end with each array. 22 results or more take an index block then.
    WriteCycles(const std::string& folder, Reaction reaction, unsigned int results = 22)
        : cycles{{folder + "/first", results}, {folder + "/second", 1}}, reaction_(reaction) {}

    void run(bool first = false) {
        cycles.resize(first ? 1 : 2);
        for (Cycle& cycle : cycles) {
            if (!model_ && !attempt("Model", [&] { model_ = std::make_unique<Model>(); })) {
                gaveUp_ = false;
                model_ = std::make_unique<Model>();
            }
            cycle.isOpen = attempt("saveTo", [&] { model_->saveTo(cycle.path, options_); });
            if (cycle.isOpen) {
                useValues();
                addEverything(cycle);
            }
            end(cycle);
        }
    }

    /// One more cycle, after whatever happened before. Nothing may fail.
    void runAgain(const std::string& path) {
        if (!model_) {
            model_ = std::make_unique<Model>();
        }
        model_->saveTo(path, options_);
        Everything(1).addTo(*model_);
        model_->close();
        model_.reset();
    }

    std::vector<Heard> heard;
    std::vector<Cycle> cycles;

private:
    template <class Action>
    bool attempt(const std::string& operation, const Action& action) {
        if (gaveUp_) {
            return false;
        }
        try {
            const LibraryCall call;
            action();
            return true;
        } catch (const Tyr::Exception::Exception& failure) {
            heard.push_back({operation, std::to_string(failure.code()) + ' ' + failure.what()});
        } catch (const std::bad_alloc&) {
            heard.push_back({operation, "0 "});
        }
        gaveUp_ = reaction_ != Reaction::GoOn;
        return false;
    }

    void addEverything(Cycle& cycle) {
        Everything(cycle.results, [&](const std::string& name, const auto& operation) {
            const bool hasReturned = attempt(name, operation);
            if (hasReturned) {
                cycle.left.insert(name);
            }
            return hasReturned;
        }).addTo(*model_);
        if (cycle.left.count(shapeName) == 0 &&
            model_->getNodeId(rootPath + '/' + shapeName) != 0) {
            heard.push_back({shapeName, "is there although it was refused"});
        }
    }

    template <class T>
    static void copyTo(T target, const T& value) {
        const T copy(value);
        target = copy;
    }

    /// The write cycle goes on in the model that it was moved to.
    void useValues() {
        attempt("values", [] {
            Attributes attributes;
            attributes.set("a text with a long key", "a text that needs memory of its own");
            attributes.set("a vector", std::vector<float>(7));
            NodeProperties properties;
            properties.set(PropertyType::Shininess, "a text that does not fit here");
            StepList steps(1);
            steps.set(0, Step{"a step with a long name", attributes});
            copyTo(Step(), steps[0]);
            copyTo(steps, StepList(2));
            copyTo(Attributes(), attributes);
            copyTo(NodeProperties(), properties);
            copyTo(Array1d<float>(2), Array1d<float>(60));
            copyTo(Array2d<unsigned int>(20, 6), Array2d<unsigned int>(1, 2));
        });
        attempt("moved model", [&] {
            auto next = std::make_unique<Model>(std::move(*model_));
            model_.swap(next);
        });
        attempt("model moved to", [&] {
            auto next = std::make_unique<Model>();
            *next = std::move(*model_);
            model_.swap(next);
        });
    }

    void end(Cycle& cycle) {
        gaveUp_ = false;
        if (reaction_ == Reaction::Destroy) {
            attempt("destruction", [&] { model_.reset(); });
        } else {
            cycle.isClosed = attempt("close", [&] { model_->close(); });
            gaveUp_ = false;
            attempt("close after close", [&] { model_->close(); });
        }
        gaveUp_ = false;
    }

    Reaction reaction_;
    const SaverOptions options_{true, "a tool that tests failures", "a version of this tool"};
    bool gaveUp_ = false;
    std::unique_ptr<Model> model_;
};

} // namespace Testing
