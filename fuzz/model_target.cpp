/// @file
/// Calls the public interface in any order with any arguments. Every call must return or raise an
/// exception of the library, and every file must be valid and complete after `close`.
#include <tyr/exception/exception.hpp>
#include <tyr/mek2/model.hpp>

#include "fuzz/bytesource.hpp"
#include "fuzz/folder.hpp"
#include "mekreader/model.hpp"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <iterator>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace {

using namespace Tyr::Mek2;
using Words = std::vector<std::uint32_t>;

void require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

void runTasks(std::size_t count, const std::function<void(std::size_t)>& task) {
    while (count != 0) {
        task(--count);
    }
}

/// One `Model` and the expected content of its file.
class Session {
public:
    explicit Session(Fuzz::ByteSource& source) : source_(source) {}

    void run() {
        while (!source_.isEmpty()) {
            try {
                call();
            } catch (const Tyr::Exception::Exception&) {
                continue;
            }
        }
        close();
    }

private:
    void call() {
        const unsigned int choice = source_.below(13);
        if (choice >= std::size(calls)) {
            return addArray();
        }
        (this->*calls[choice])();
    }

    void moveTo() { model_.setCurrentNodeId(source_.below(20)); }
    void moveUp() { model_.moveToParentNode(); }
    void findPath() { model_.getNodeId(path(), separator()); }
    void findNames() { model_.getNodeId(std::vector<std::string>{name(), name(), name()}); }

    void open() {
        const unsigned int kind = source_.below(6);
        SaverOptions options;
        options.overwrite = kind != 1;
        options.relinkReplaced = kind == 4;
        if (kind == 5) {
            options.parallelFor = runTasks;
        }
        options.toolName = name();
        options.toolVersion = name();
        const std::string to = kind == 0 ? "" : kind == 2 ? file_ + "/none" : file_;
        const unsigned int blockSize = source_.number<std::uint16_t>() % 2000;
        setenv("MEKWRITER_DEFAULT_BLOCK_SIZE", std::to_string(blockSize).c_str(), 1);
        if (kind == 3) {
            model_.saveTo(std::wstring(to.begin(), to.end()), options);
        } else {
            model_.saveTo(to, options);
        }
        isOpen_ = to == file_;
    }

    void addNode() {
        const auto type = static_cast<NodeType>(source_.below(6));
        const unsigned int id = model_.addNode(type, name(), attributes());
        require(id > highestId_);
        highestId_ = id;
        if (type == NodeType::Shape && id != 1) {
            geometries_.insert(id);
        }
    }

    /// Closing must not fail, because the disk has space.
    void close() noexcept {
        model_.close();
        if (std::exchange(isOpen_, false)) {
            checkFile();
        }
        expected_.clear();
        geometries_.clear();
        highestId_ = 0;
    }

    void checkFile() const {
        MekReader::check(file_);
        MekReader::File file(file_);
        require(file.nodes().size() >= highestId_);
        std::size_t found = 0;
        for (const MekReader::Node& node : file.nodes()) {
            for (const MekReader::Variable& variable : node.variables) {
                const auto expected = expected_.find({node.id, variable.name});
                if (expected != expected_.end()) {
                    require(file.words(variable) == expected->second);
                    ++found;
                }
            }
        }
        require(found == expected_.size());
    }

    std::string name() { return source_.string(7); }
    std::string separator() { return source_.below(4) == 0 ? source_.string(3) : "/"; }

    /// A path with names of at most two bytes, so that paths often share nodes.
    std::string path() {
        std::string path = source_.below(8) == 0 ? "" : "/";
        for (unsigned int level = source_.below(5); level > 0; --level) {
            path += source_.string(3) + (source_.below(8) == 0 ? "" : "/");
        }
        return path;
    }

    /// Sets a value of one of the first `kinds` types.
    template <class Values, class Key>
    void set(Values& values, const Key& key, unsigned int kinds) {
        const std::variant<float, int, std::string, std::vector<float>> all[] = {
            source_.number<float>(),
            source_.number<int>(),
            std::string(source_.number<std::uint16_t>() % 600, 't'),
            "Vibration",
            name(),
            std::vector<float>(source_.below(6), 0.5F)};
        const std::size_t kind = std::min<std::size_t>(source_.below(kinds), std::size(all) - 1);
        std::visit([&](const auto& value) { values.set(key, value); }, all[kind]);
    }

    Attributes attributes() {
        Attributes attributes;
        for (unsigned int count = source_.below(4); count > 0; --count) {
            attributes.set(name(), source_.number<unsigned int>());
            set(attributes, source_.below(4) == 0 ? "Category" : name(), 6);
        }
        return attributes;
    }

    void setNodeData() {
        NodeProperties properties;
        for (unsigned int count = source_.below(5); count > 0; --count) {
            const auto key = static_cast<PropertyType>(static_cast<int>(source_.below(13)) - 1);
            set(properties, key, 12);
        }
        if (source_.below(2) == 0) {
            properties.set(PropertyType::MaterialFlag, source_.below(2) == 0);
        }
        model_.setNodeData(source_.below(20), properties, attributes());
    }

    void addComponents() {
        if (source_.below(2) == 0) {
            std::vector<std::string> paths(source_.below(4));
            for (std::string& one : paths) {
                one = path();
            }
            const auto ids = model_.addAssemblyComponents(paths, separator());
            require(ids.size() == paths.size());
        } else {
            std::map<std::string, Attributes> paths;
            for (unsigned int count = source_.below(4); count > 0; --count) {
                paths[path()] = attributes();
            }
            model_.addAssemblyComponents(paths, separator());
        }
    }

    void moveModel() {
        Model other(std::move(model_));
        if (source_.below(4) == 0) {
            model_.saveTo(""); // this write cycle ends at the assignment below
        }
        model_ = std::move(other);
    }

    void addArray() { source_.below(2) == 0 ? addArrayOf<float>() : addArrayOf<unsigned int>(); }

    template <class T>
    void addArrayOf() {
        const bool isColumn = source_.below(2) == 0;
        const unsigned int width = isColumn ? 1 : source_.below(8);
        std::vector<T> values(width * (source_.number<std::uint16_t>() % 600U));
        Words bits;
        for (T& value : values) {
            bits.push_back(source_.number<std::uint32_t>());
            std::memcpy(&value, &bits.back(), sizeof value);
        }
        if (isColumn) {
            return addOfType(anyType(1), Array1d<T>(values), bits);
        }
        const std::size_t rows = width == 0 ? 3 : values.size() / width;
        addOfType(anyType(width), Array2d<T>(rows, width, values), bits);
    }

    /// Mostly a type that accepts arrays of this width.
    DatasetType anyType(unsigned int width) {
        const unsigned int type = source_.below(33);
        if (source_.below(8) == 0) {
            return static_cast<DatasetType>(type);
        }
        return width == 3   ? DatasetType::Coordinates
               : width == 6 ? DatasetType::ResultA6
                            : DatasetType::ResultA1;
    }

    template <class Array>
    void addOfType(DatasetType type, const Array& array, const Words& bits) {
        const unsigned int id = source_.below(20);
        const Step step{name(), attributes()};
        const Attributes given = attributes();
        const unsigned int choice = source_.below(5);
        if (choice == 0) {
            const Array1d<unsigned int> ids({id, id, 3, id + 1});
            return model_.addArrayProperty(name(), type, array, ids, steps(step), given);
        }
        if (choice == 1) {
            return model_.addArrayProperty(type, array, id, step, given);
        }
        // the name is unique, so the array is compared after `close`
        const std::string unique = "array " + std::to_string(arrayCount_++);
        model_.addArrayProperty(unique, type, array, Array1d<unsigned int>({id, id + 1}), step,
                                given);
        for (const unsigned int one : {id, id + 1}) {
            if (!bits.empty() && geometries_.count(one) != 0) {
                expected_[{one, step.name.empty() ? unique : unique + '\x1E' + step.name}] = bits;
            }
        }
    }

    StepList steps(const Step& step) {
        const unsigned int count = source_.below(4);
        StepList list(count);
        if (count > 1) {
            list.set(1, step);
        }
        return list;
    }

    static constexpr void (Session::*calls[])() = {
        &Session::open,        &Session::close,         &Session::addNode,  &Session::addNode,
        &Session::moveTo,      &Session::moveUp,        &Session::findPath, &Session::findNames,
        &Session::setNodeData, &Session::addComponents, &Session::moveModel};

    Fuzz::ByteSource& source_;
    const Fuzz::Folder folder_{};
    const std::string file_ = folder_.path("file");
    Model model_;
    bool isOpen_ = false;
    unsigned int highestId_ = 0; ///< that `addNode` has returned
    std::set<unsigned int> geometries_;
    unsigned int arrayCount_ = 0;
    std::map<std::pair<unsigned int, std::string>, Words> expected_;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Fuzz::ByteSource source(data, size);
    Session(source).run();
    return 0;
}
