#include "mekdiff/comparison.hpp"

#include "mekreader/error.hpp"
#include "mekreader/navigation.hpp"
#include "mekreader/quotes.hpp"

#include <algorithm>
#include <array>
#include <charconv>
#include <deque>
#include <map>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <utility>
#include <variant>

namespace MekDiff {

namespace {

using MekReader::AttributeList;
using MekReader::AttributeValue;
using MekReader::inQuotes;
using MekReader::Node;
using MekReader::Variable;

template <class Number>
std::string toText(Number number) {
    std::array<char, 32> text{};
    const auto end = std::to_chars(text.data(), text.data() + text.size(), number).ptr;
    return {text.data(), end};
}

std::string toText(const std::string& string) { return inQuotes(string); }

std::string toText(const AttributeValue& value) {
    return std::visit([](const auto& alternative) { return toText(alternative); }, value);
}

/// What two lists have in common, by name. Of several items with one name, the first belongs to the
/// first, and so on.
template <class Item>
struct Matching {
    std::vector<std::pair<const Item*, const Item*>> pairs{};
    std::vector<const Item*> onlyLeft{};
    std::vector<const Item*> onlyRight{};
    bool hasSameOrder = true; ///< of the pairs
};

template <class Item>
Matching<Item> match(const std::vector<const Item*>& left, const std::vector<const Item*>& right) {
    std::map<std::string_view, std::deque<std::size_t>> positions; // in `right`, by name
    for (std::size_t i = 0; i < right.size(); ++i) {
        positions[right[i]->name].push_back(i);
    }
    Matching<Item> matching;
    std::vector<bool> isMatched(right.size());
    std::size_t last = 0;
    for (const Item* const item : left) {
        std::deque<std::size_t>& candidates = positions[item->name];
        if (candidates.empty()) {
            matching.onlyLeft.push_back(item);
            continue;
        }
        const std::size_t position = candidates.front();
        candidates.pop_front();
        matching.pairs.emplace_back(item, right[position]);
        matching.hasSameOrder = matching.hasSameOrder && position >= last;
        isMatched[position] = true;
        last = position;
    }
    for (std::size_t i = 0; i < right.size(); ++i) {
        if (!isMatched[i]) {
            matching.onlyRight.push_back(right[i]);
        }
    }
    return matching;
}

/// Runs `action`, whose errors get the name of the file.
template <class Action>
decltype(auto) inFile(const Side& side, const Action& action) {
    try {
        return action();
    } catch (const MekReader::Error& error) {
        throw MekReader::Error(side.name + ": " + error.what());
    }
}

class Comparison {
public:
    Comparison(const Sides& sides, const Options& options,
               const std::function<void(const std::string&)>& report)
        : left_(sides.left), right_(sides.right), options_(options), report_(report) {}

    Result run() {
        for (const std::string& name : options_.only) {
            requireVariable(name);
        }
        compareRoots();
        // without recursion: a tree may be as deep as it has nodes
        while (!waiting_.empty()) {
            const auto [left, right] = waiting_.back();
            waiting_.pop_back();
            compareNodes(*left, *right);
        }
        return result_;
    }

private:
    void requireVariable(const std::string& name) const {
        for (const Side* const side : {&left_, &right_}) {
            for (const Node& node : side->file.nodes()) {
                for (const Variable& variable : node.variables) {
                    if (MekReader::splitName(variable.name).quantity == name) {
                        return;
                    }
                }
            }
        }
        throw std::runtime_error("neither file has an array " + inQuotes(name));
    }

    void compareRoots() {
        const std::vector<Node>& left = left_.file.nodes();
        const std::vector<Node>& right = right_.file.nodes();
        if (left.empty() || right.empty()) {
            return;
        }
        if (left.front().name != right.front().name) {
            add("/", "the root is " + inQuotes(left.front().name) + " and " +
                         inQuotes(right.front().name));
        }
        waiting_.emplace_back(&left.front(), &right.front());
    }

    void compareNodes(const Node& left, const Node& right) {
        if (left.type != right.type) {
            add(placeOf(left), "is a " + left.type + " and a " + right.type);
        }
        if (comparesEverything()) {
            compareGroups(left, right);
            compareMaterials(left, right);
        }
        compareVariables(left, right);
        compareChildren(left, right);
    }

    void compareChildren(const Node& left, const Node& right) {
        const auto childrenOf = [](const Side& side, const Node& node) {
            return inFile(side, [&] { return MekReader::childrenOf(side.file, node); });
        };
        const auto matching = match(childrenOf(left_, left), childrenOf(right_, right));
        for (const Node* const node : matching.onlyLeft) {
            addOnlyIn(left_, placeOf(left_, *node));
        }
        for (const Node* const node : matching.onlyRight) {
            addOnlyIn(right_, placeOf(right_, *node));
        }
        requireOrder(left, matching.hasSameOrder, "nodes");
        waiting_.insert(waiting_.end(), matching.pairs.rbegin(), matching.pairs.rend());
    }

    void compareGroups(const Node& left, const Node& right) {
        if (!left.group || !right.group) {
            return; // another type
        }
        const std::string place = placeOf(left);
        compareNumbers(place, "translation", left.group->translation, right.group->translation);
        compareNumbers(place, "rotation", left.group->rotation, right.group->rotation);
        compareNumbers(place, "scale", left.group->scale, right.group->scale);
        compareAttributes(place, left.group->attributes, right.group->attributes);
    }

    void compareMaterials(const Node& left, const Node& right) {
        if (!left.material || !right.material) {
            return; // another type
        }
        const MekReader::Material& first = *left.material;
        const MekReader::Material& second = *right.material;
        const std::string place = placeOf(left);
        compareNumbers(place, "diffuse colour", first.diffuseColor, second.diffuseColor);
        compareNumbers(place, "specular colour", first.specularColor, second.specularColor);
        compareNumbers(place, "emissive colour", first.emissiveColor, second.emissiveColor);
        compareNumbers(place, "ambient colour", first.ambientColor, second.ambientColor);
        compareNumbers(place, "transparency", std::array{first.transparency},
                       std::array{second.transparency});
        compareNumbers(place, "shininess", std::array{first.shininess},
                       std::array{second.shininess});
        compareFlags(place, "material flag", first.materialFlag, second.materialFlag);
    }

    template <std::size_t Count>
    void compareNumbers(const std::string& place, const char* what,
                        const std::array<float, Count>& left,
                        const std::array<float, Count>& right) {
        const auto isEqual = [this](float first, float second) {
            return options_.tolerance.isEqual(double{first}, double{second});
        };
        if (!std::equal(left.begin(), left.end(), right.begin(), isEqual)) {
            const auto listed = [](const auto& numbers) {
                std::string list;
                for (const float number : numbers) {
                    list += (list.empty() ? "" : " ") + toText(number);
                }
                return list;
            };
            add(place, std::string(what) + ": " + listed(left) + " and " + listed(right));
        }
    }

    void compareFlags(const std::string& place, const char* what, bool left, bool right) {
        if (left != right) {
            add(place, std::string(what) + ": only in " + (left ? left_ : right_).name);
        }
    }

    void compareAttributes(const std::string& place, const AttributeList& left,
                           const AttributeList& right) {
        for (const auto& [key, value] : left) {
            const auto other = right.find(key);
            const std::string what = "attribute " + inQuotes(key);
            if (other == right.end()) {
                addOnlyIn(left_, std::string(place).append(": ").append(what));
            } else if (!isEqual(value, other->second)) {
                add(place, what + ": " + toText(value) + " and " + toText(other->second));
            }
        }
        for (const auto& [key, value] : right) {
            if (left.count(key) == 0) {
                addOnlyIn(right_, place + ": attribute " + inQuotes(key));
            }
        }
    }

    bool isEqual(const AttributeValue& left, const AttributeValue& right) const {
        const auto numberOf = [](const AttributeValue& value) -> std::optional<double> {
            const auto* const single = std::get_if<float>(&value);
            const auto* const number = std::get_if<double>(&value);
            return single != nullptr   ? std::optional<double>(*single)
                   : number != nullptr ? std::optional(*number)
                                       : std::nullopt;
        };
        const std::optional<double> first = numberOf(left);
        const std::optional<double> second = numberOf(right);
        return left == right || (left.index() == right.index() && first && second &&
                                 options_.tolerance.isEqual(*first, *second));
    }

    std::vector<const Variable*> comparedVariables(const Node& node) const {
        std::vector<const Variable*> variables;
        for (const Variable& variable : node.variables) {
            const auto name = MekReader::splitName(variable.name).quantity;
            if (comparesEverything() || std::find(options_.only.begin(), options_.only.end(),
                                                  name) != options_.only.end()) {
                variables.push_back(&variable);
            }
        }
        return variables;
    }

    void compareVariables(const Node& left, const Node& right) {
        const auto matching = match(comparedVariables(left), comparedVariables(right));
        for (const Variable* const variable : matching.onlyLeft) {
            addOnlyIn(left_, placeOf(left, *variable));
        }
        for (const Variable* const variable : matching.onlyRight) {
            addOnlyIn(right_, placeOf(left, *variable));
        }
        requireOrder(left, matching.hasSameOrder, "variables");
        for (const auto& [first, second] : matching.pairs) {
            compareVariable(placeOf(left, *first), *first, *second);
        }
    }

    void compareVariable(const std::string& place, const Variable& left, const Variable& right) {
        if (left.type != right.type) {
            add(place, "type: " + toText(left.type) + " and " + toText(right.type));
        }
        compareFlags(place, "vibration flag", left.vibration, right.vibration);
        const bool hasLeft = !left_.file.hasCircularLinks(left);
        const bool hasRight = !right_.file.hasCircularLinks(right);
        const Variable& leftOwner = hasLeft ? ownerOf(left_, left) : left;
        const Variable& rightOwner = hasRight ? ownerOf(right_, right) : right;
        compareAttributes(place, leftOwner.attributes, rightOwner.attributes);
        if (hasLeft && hasRight) {
            compareArrays(place, leftOwner, rightOwner);
        } else if (hasLeft || hasRight) {
            addOnlyIn(hasLeft ? left_ : right_, place + ": an array");
        }
    }

    void compareArrays(const std::string& place, const Variable& first, const Variable& second) {
        if (shapeOf(first) != shapeOf(second)) {
            add(place, shapeOf(first) + " and " + shapeOf(second));
            return;
        }
        const auto valuesOf = [](const Side& side, const Variable& owner) {
            return inFile(side, [&] { return MekReader::readValues(side.file, owner); });
        };
        const ArrayDifference difference =
            differenceOf(valuesOf(left_, first), valuesOf(right_, second), options_.tolerance);
        if (difference.count != 0) {
            addArray(place, difference, first);
        }
    }

    static const Variable& ownerOf(const Side& side, const Variable& variable) {
        return inFile(side, [&]() -> const Variable& { return side.file.owner(variable); });
    }

    static std::string shapeOf(const Variable& owner) {
        const bool isFloat = owner.elementType == Variable::floatElements;
        return toText(owner.rows()) + " x " + toText(unsigned{owner.width}) +
               (isFloat ? " float" : " unsigned");
    }

    void addArray(const std::string& place, const ArrayDifference& difference,
                  const Variable& owner) {
        std::string where = "row " + toText(difference.position / owner.width);
        if (owner.width > 1) {
            where += ", column " + toText(difference.position % owner.width);
        }
        const std::uint64_t count = owner.rows() * owner.width;
        add(place, toText(difference.count) + " of " + toText(count) +
                       " values differ by at most " + toText(difference.largest) + ", in " + where +
                       ": " + valueText(difference.left, owner) + " and " +
                       valueText(difference.right, owner));
        if (result_.largest.empty() || difference.largest > largest_) {
            largest_ = difference.largest;
            result_.largest = place + ", " + where + ": " + toText(largest_);
        }
    }

    /// As short as the element type allows.
    static std::string valueText(double value, const Variable& owner) {
        return owner.elementType == Variable::floatElements ? toText(static_cast<float>(value))
                                                            : toText(value);
    }

    void requireOrder(const Node& node, bool hasSameOrder, const char* what) {
        if (!hasSameOrder && !options_.ignoresOrder && comparesEverything()) {
            add(placeOf(node), std::string("the order of its ") + what + " differs");
        }
    }

    bool comparesEverything() const { return options_.only.empty(); }

    std::string placeOf(const Node& node) const { return placeOf(left_, node); }

    static std::string placeOf(const Side& side, const Node& node) {
        return inFile(side, [&] { return MekReader::pathOf(side.file, node); });
    }

    std::string placeOf(const Node& node, const Variable& variable) const {
        const MekReader::VariableName name = MekReader::splitName(variable.name);
        return placeOf(node) + ": " + inQuotes(name.quantity) +
               (name.step ? ", step " + inQuotes(*name.step) : "");
    }

    void addOnlyIn(const Side& side, const std::string& what) { add(what, "only in " + side.name); }

    void add(const std::string& place, const std::string& what) {
        ++result_.differences;
        report_(place + ": " + what);
    }

    const Side& left_;
    const Side& right_;
    const Options& options_;
    const std::function<void(const std::string&)>& report_;
    std::vector<std::pair<const Node*, const Node*>> waiting_{};
    Result result_{};
    double largest_ = 0;
};

} // namespace

Result compare(const Sides& sides, const Options& options,
               const std::function<void(const std::string&)>& report) {
    return Comparison(sides, options, report).run();
}

} // namespace MekDiff
