/// @file
/// Write cycles of one model with every public operation, many blocks and an index block.
#pragma once

#include <tyr/mek2/model.hpp>

#include <cstdint>
#include <map>
#include <memory>
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
    int code; ///< of the failure class; 0 for `std::bad_alloc`
    std::string message;
};

/// One write cycle as the application saw it.
struct Cycle {
    std::string path;
    unsigned int results;
    bool isOpen = false;   ///< `saveTo` returned
    bool isClosed = false; ///< `close` returned
    std::map<unsigned int, std::string> nodes{}; ///< name by id, of operations that returned
    std::map<std::pair<unsigned int, std::string>, std::vector<std::uint32_t>> arrays{};
};

class WriteCycles {
public:
    /// Blocks end with each array. 22 results or more take an index block.
    WriteCycles(const std::string& folder, Reaction reaction, unsigned int results = 22);

    void run();

    /// One more cycle, after whatever happened before. Nothing may fail.
    void runAgain(const std::string& path);

    std::vector<Heard> heard;
    std::vector<Cycle> cycles;

private:
    template <class Action>
    bool attempt(const char* operation, const Action& action);
    void addNodes(Cycle& cycle);
    void useValues();
    void addArrays(Cycle& cycle);
    void end(Cycle& cycle);

    Reaction reaction_;
    bool gaveUp_ = false;
    std::unique_ptr<Tyr::Mek2::Model> model_;
    unsigned int body_ = 0;
    unsigned int skin_ = 0;
};

} // namespace Testing
