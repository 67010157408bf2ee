// Errors: what an exception contains, and how the program continues afterwards.
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

// All exception classes of the library are derived from Tyr::Exception::Exception. An exception has
// a number, a message, and the location of the throwing code.
void print(const Tyr::Exception::Exception& error) {
    std::cout << error.code() << " \"" << error.what() << '"';
    const char* const* const file = boost::get_error_info<boost::throw_file>(error);
    const int* const line = boost::get_error_info<boost::throw_line>(error);
    if (file != nullptr && line != nullptr) {
        std::cout << " from " << *file << ", line " << *line;
    }
    std::cout << '\n';
}

// Runs an action that may fail. Other exceptions, such as std::bad_alloc, are not caught.
template <class Action>
void attempt(const char* what, const Action& action) {
    std::cout << what << ": ";
    try {
        action();
        std::cout << "no error\n";
    } catch (const Tyr::Exception::Exception& error) {
        print(error);
    }
}

void write(const std::string& path) {
    SaverOptions options;
    options.overwrite = true;
    options.toolName = "handling_failures";
    Model model;

    attempt("a node without a file", [&] { model.addNode(NodeType::RootGroup, "root"); });

    // If the file cannot be opened, a write cycle without a file is open. Close it before the next
    // `saveTo`.
    attempt("a file in a missing folder",
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

    // The model remains usable. The unknown id is the current node: move to an existing one.
    model.setCurrentNodeId(shape);
    model.addArrayProperty("T", DatasetType::ResultA1, values, shape, Step{});

    // Call `close`: the destructor discards errors, such as a full disk.
    attempt("the end", [&] { model.close(); });

    // An existing file is kept unless `SaverOptions::overwrite` is set.
    attempt("the same file again", [&] { Model().saveTo(path); });
}

} // namespace

int main(int argc, char** argv) {
    try {
        write(argc > 1 ? argv[1] : "handling_failures.mek");
    } catch (const std::exception& error) {
        std::cerr << "handling_failures: " << error.what() << '\n';
        return 1;
    }
    return 0;
}
