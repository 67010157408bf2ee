/// Calls the public interface in any order with any arguments. Every call returns or raises a
/// failure of the library, and every file that `close` leaves behind is right and complete.
#include <tyr/exception/exception.hpp>
#include <tyr/mek2/model.hpp>

#include "fuzz/bytesource.hpp"
#include "fuzz/memoryfile.hpp"
#include "mekreader/model.hpp"

#include <cstdlib>
#include <cstring>
#include <iterator>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace {

using namespace Tyr::Mek2;
using Words = std::vector<std::uint32_t>;

void require(bool condition) {
    if (!condition) {
        std::abort();
    }
}

template <class T>
Words bitsOf(const std::vector<T>& values) {
    Words bits(values.size());
    if (!values.empty()) {
        std::memcpy(bits.data(), values.data(), values.size() * sizeof(T));
    }
    return bits;
}

/// One `Model`, what it is given, and what must stand in its file.
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
        options.toolName = name();
        options.toolVersion = name();
        const std::string to = kind == 0 ? "" : kind == 2 ? "/" + name() + "/none" : file_.path();
        const unsigned int blockSize = source_.number<std::uint16_t>() % 2000;
        setenv("MEKWRITER_DEFAULT_BLOCK_SIZE", std::to_string(blockSize).c_str(), 1);
        if (kind == 3) {
            model_.saveTo(std::wstring(to.begin(), to.end()), options);
        } else {
            model_.saveTo(to, options);
        }
        isOpen_ = to == file_.path();
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

    /// The file is in memory, so that closing has no reason to fail.
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
        MekReader::check(file_.path());
        MekReader::File file(file_.path());
        require(file.nodes().size() >= highestId_);
        std::map<std::pair<unsigned int, std::string>, const MekReader::Variable*> found;
        for (const MekReader::Node& node : file.nodes()) {
            for (const MekReader::Variable& variable : node.variables) {
                found[{node.id, variable.name}] = &variable;
            }
        }
        for (const auto& [place, values] : expected_) {
            const MekReader::Variable& variable = *found.at(place);
            require(file.words(variable) == values);
            require(bitsOf(file.floats(variable)) == values);
        }
    }

    std::string name() { return source_.text(7); }
    std::string separator() { return source_.below(4) == 0 ? source_.text(3) : "/"; }

    /// Names of two letters at most, so that paths meet the same nodes again.
    std::string path() {
        std::string path = source_.below(8) == 0 ? "" : "/";
        for (unsigned int level = source_.below(5); level > 0; --level) {
            path += source_.text(3) + (source_.below(8) == 0 ? "" : "/");
        }
        return path;
    }

    Attributes attributes() {
        Attributes attributes;
        for (unsigned int count = source_.below(4); count > 0; --count) {
            const std::string key = source_.below(4) == 0 ? "Category" : name();
            switch (source_.below(7)) {
                case 0:
                    attributes.set(key, source_.number<float>());
                    break;
                case 1:
                    attributes.set(key, source_.number<int>());
                    break;
                case 2:
                    attributes.set(key, source_.number<unsigned int>());
                    break;
                case 3:
                    attributes.set(key, std::string(source_.number<std::uint16_t>() % 600, 't'));
                    break;
                case 4:
                    attributes.set(key, "Vibration");
                    break;
                case 5:
                    attributes.set(key, name());
                    break;
                default:
                    attributes.set(key, std::vector<float>(source_.below(4)));
            }
        }
        return attributes;
    }

    void setNodeData() {
        NodeProperties properties;
        for (unsigned int count = source_.below(5); count > 0; --count) {
            const auto key = static_cast<PropertyType>(static_cast<int>(source_.below(13)) - 1);
            switch (source_.below(6)) {
                case 0:
                    properties.set(key, source_.number<int>());
                    break;
                case 1:
                    properties.set(key, source_.number<float>());
                    break;
                case 2:
                    properties.set(key, name());
                    break;
                case 3:
                    properties.set(key, source_.below(2) == 1);
                    break;
                default:
                    properties.set(key, std::vector<float>(source_.below(6), 0.5F));
            }
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
            model_.saveTo(""); // ends when the other one comes back
        }
        model_ = std::move(other);
    }

    void addArray() { source_.below(2) == 0 ? addArrayOf<float>() : addArrayOf<unsigned int>(); }

    template <class T>
    void addArrayOf() {
        const bool isColumn = source_.below(2) == 0;
        const unsigned int width = isColumn ? 1 : source_.below(8);
        std::vector<T> values(width * (source_.number<std::uint16_t>() % 600U));
        for (T& value : values) {
            value = source_.number<T>();
        }
        if (isColumn) {
            return addOfType(anyType(1), Array1d<T>(values), bitsOf(values));
        }
        const std::size_t rows = width == 0 ? 3 : values.size() / width;
        addOfType(anyType(width), Array2d<T>(rows, width, values), bitsOf(values));
    }

    /// Mostly one that takes arrays of this width.
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
        switch (source_.below(5)) {
            case 0:
                model_.addArrayProperty(name(), type, array,
                                        Array1d<unsigned int>({id, id, 3, id + 1}), steps(step),
                                        given);
                break;
            case 1:
                model_.addArrayProperty(type, array, id, step, given);
                break;
            default:
                addExpected(type, array, bits, id, step, given);
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

    /// A name that no other call has is read back at the end.
    template <class Array>
    void addExpected(DatasetType type, const Array& array, const Words& bits, unsigned int id,
                     const Step& step, const Attributes& given) {
        const std::string unique = "array " + std::to_string(arrayCount_++);
        const Array1d<unsigned int> ids({id, id + 1});
        model_.addArrayProperty(unique, type, array, ids, step, given);
        if (bits.empty()) {
            return;
        }
        const std::string full = step.name.empty() ? unique : unique + '\x1E' + step.name;
        for (const unsigned int one : {id, id + 1}) {
            if (geometries_.count(one) != 0) {
                expected_[{one, full}] = bits;
            }
        }
    }

    static constexpr void (Session::*calls[])() = {
        &Session::open,        &Session::close,         &Session::addNode,  &Session::addNode,
        &Session::moveTo,      &Session::moveUp,        &Session::findPath, &Session::findNames,
        &Session::setNodeData, &Session::addComponents, &Session::moveModel};

    Fuzz::ByteSource& source_;
    Fuzz::MemoryFile file_;
    Model model_;
    bool isOpen_ = false;
    unsigned int highestId_ = 0; ///< that `addNode` has given
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
