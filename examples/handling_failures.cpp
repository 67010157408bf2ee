// What goes wrong, what a failure tells, and what becomes of the model and the file.
//
// Usage: handling_failures [FILE]
#include <tyr/exception/exception.hpp>
#include <tyr/mek2/model.hpp>

#include <boost/exception/get_error_info.hpp>
#include <boost/exception/info.hpp>

#include <exception>
#include <iostream>
#include <string>

using namespace Tyr::Mek2;

namespace {

// Every failure of the library is a Tyr::Exception::Exception: it has a number, a text, and the
// place where it was raised.
void tell(const Tyr::Exception::Exception& failure) {
    std::cout << failure.code() << " \"" << failure.what() << '"';
    const char* const* const file = boost::get_error_info<boost::throw_file>(failure);
    const int* const line = boost::get_error_info<boost::throw_line>(failure);
    if (file != nullptr && line != nullptr) {
        std::cout << " from " << *file << ", line " << *line;
    }
    std::cout << '\n';
}

// Runs what is expected to fail. Other failures, such as std::bad_alloc, pass through.
template <class Action>
void attempt(const char* what, const Action& action) {
    std::cout << what << ": ";
    try {
        action();
        std::cout << "went well\n";
    } catch (const Tyr::Exception::Exception& failure) {
        tell(failure);
    }
}

void write(const std::string& path) {
    SaverOptions options;
    options.overwrite = true;
    options.toolName = "handling_failures";
    Model model;

    attempt("a node without a file", [&] { model.addNode(NodeType::RootGroup, "root"); });

    // A path that cannot be opened starts a write cycle all the same, one without a file: it is
    // ended before the next one starts.
    attempt("a file in a folder that is not there",
            [&] { model.saveTo(path + ".missing/model.mek", options); });
    model.close();

    model.saveTo(path, options);
    attempt("a second file at once", [&] { model.saveTo(path, options); });

    model.addNode(NodeType::RootGroup, "root");
    const unsigned int shape = model.addNode(NodeType::Shape, "shape");
    const Array1d<float> values{1, 2, 3};
    attempt("an array of another width",
            [&] { model.addArrayProperty(DatasetType::Coordinates, values, shape, Step{}); });
    attempt("an unknown id",
            [&] { model.addArrayProperty("T", DatasetType::ResultA1, values, 1000U, Step{}); });

    // Nothing was broken: the model goes on, from a node that is there.
    model.setCurrentNodeId(shape);
    model.addArrayProperty("T", DatasetType::ResultA1, values, shape, Step{});

    // Close it yourself. The destructor closes too, but it cannot tell that the disk is full.
    attempt("the end", [&] { model.close(); });

    // A file that stands there is kept unless the options say otherwise.
    attempt("the same file again", [&] { Model().saveTo(path); });
}

} // namespace

int main(int argc, char** argv) {
    try {
        write(argc > 1 ? argv[1] : "handling_failures.mek");
    } catch (const std::exception& failure) {
        std::cerr << "handling_failures: " << failure.what() << '\n';
        return 1;
    }
    return 0;
}
