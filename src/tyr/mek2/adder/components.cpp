#include "tyr/mek2/adder/components.hpp"

#include "tyr/exception/raise.hpp"
#include "tyr/mek/group.hpp"
#include "tyr/mek2/component/pathsplitter.hpp"
#include "tyr/mek2/helper/attributes.hpp"

#include <cstddef>
#include <utility>

namespace Tyr::Mek2::Adder {

namespace {

const AttributeMap noAttributes;

const std::string& pathOf(const std::string& path) { return path; }
const std::string& pathOf(const PathMap::value_type& entry) { return entry.first; }

const AttributeMap& attributesOf(const std::string&) { return noAttributes; }
const AttributeMap& attributesOf(const PathMap::value_type& entry) { return entry.second; }

bool beginsWith(const std::string& string, const std::string& beginning) {
    return string.compare(0, beginning.size(), beginning) == 0;
}

bool endsWith(const std::string& string, const std::string& end) {
    return string.size() >= end.size() &&
           string.compare(string.size() - end.size(), end.size(), end) == 0;
}

} // namespace

/// Adds the nodes of one path after the other.
template <class Container, class Array>
class Components<Container, Array>::Visitor {
public:
    explicit Visitor(TyrMek::Tree& tree) : tree_(tree) {
        if (const TyrMek::Node* const root = tree.GetReqNode(1).value) {
            rootExists_ = true;
            rootName_ = root->name;
        }
    }

    /// Makes the last node of the path the current node and returns its id.
    unsigned int visit(const std::vector<std::string>& names, bool leadsToGroup,
                       const AttributeMap& attributes) {
        moveToRoot(names.front());
        for (std::size_t level = 1; level < names.size(); ++level) {
            const bool isLast = level + 1 == names.size();
            if (isLast && !leadsToGroup) {
                tree_.AddShapeNode(names[level]);
            } else {
                tree_.AddGroupNode(names[level]);
            }
        }
        const unsigned int id = tree_.currentId;
        if (leadsToGroup) {
            setAttributes(attributes);
        }
        return id;
    }

private:
    void moveToRoot(const std::string& name) {
        if (!rootExists_) {
            tree_.SetRootGroup(name, TyrUtil::AttributeList());
            rootName_ = name;
            rootExists_ = true;
        } else if (name != rootName_) {
            addMergeNode(name);
        } else {
            tree_.currentId = 1;
        }
    }

    /// Reserved for merging a tree with another root.
    /// @throws NotYetImplemented always
    void addMergeNode(const std::string&) const { TYR_RAISE(Exception::NotYetImplemented()); }

    void setAttributes(const AttributeMap& attributes) {
        auto* const group =
            dynamic_cast<TyrMek::Group*>(std::as_const(tree_).GetCurrentNode().value);
        if (group != nullptr && !attributes.empty()) {
            Helper::replaceEntries(group->attributes,
                                   Helper::Attributes::toAttributeList(attributes));
        }
    }

    TyrMek::Tree& tree_;
    bool rootExists_ = false;
    std::string rootName_;
};

template <class Container, class Array>
Components<Container, Array>::Components(const Container& givenPaths) : paths(copyOf(givenPaths)) {}

template <class Container, class Array>
void Components<Container, Array>::update(Database& database) {
    if (paths.empty()) {
        return;
    }
    database.assertOpenedForWriting();
    result = Array::Zero(static_cast<Eigen::Index>(paths.size()));
    database.assertNotEmpty();
    Visitor visitor(*database.tree);
    Eigen::Index index = -1;
    for (const auto& entry : paths) {
        ++index;
        const std::string& path = pathOf(entry);
        if (path.empty()) {
            continue;
        }
        if (!beginsWith(path, separator)) {
            TYR_RAISE(Exception::InvalidArguments("Relative paths not supported"));
        }
        const Component::PathSplitter splitter(path, separator.c_str());
        const std::vector<std::string> names = splitter.names();
        if (!names.empty()) {
            result[index] = visitor.visit(names, endsWith(path, separator), attributesOf(entry));
        }
    }
}

template class Components<PathList, Column<unsigned int>>;
template class Components<PathMap, Column<unsigned int>>;

} // namespace Tyr::Mek2::Adder
