/// @file
/// Conversion of attributes to the form of the tree.
#pragma once

#include "tyr/exception/raise.hpp"
#include "tyr/mek/attributelist.hpp"
#include "tyr/mek2/valuestorage.hpp"

#include <cstdint>
#include <string>
#include <vector>

namespace Tyr::Mek2::Helper {

/// Operations on the attributes of the public interface.
struct Attributes {
    /// Visitor that converts one value. Signed integers keep their low 32 bits; other values do not
    /// change.
    /// @throws InvalidArguments the file cannot hold values of this type; the function name of the
    ///     location contains the type
    struct AttributeValueGetter {
        template <class T>
        TyrUtil::AttributeValue operator()(const T&) const {
            TYR_RAISE(Exception::InvalidArguments());
        }
        template <class T>
        TyrUtil::AttributeValue operator()(const std::vector<T>&) const {
            TYR_RAISE(Exception::InvalidArguments());
        }
        TyrUtil::AttributeValue operator()(const float& value) const;
        TyrUtil::AttributeValue operator()(const int& value) const;
        TyrUtil::AttributeValue operator()(const unsigned int& value) const;
        TyrUtil::AttributeValue operator()(const std::string& value) const;
        TyrUtil::AttributeValue operator()(const double& value) const;
        TyrUtil::AttributeValue operator()(const std::int64_t& value) const;
    };

    /// @throws InvalidArguments the file cannot hold one of the values
    static TyrUtil::AttributeList toAttributeList(const AttributeMap& map);
};

/// Copies each entry of `added` to `list`. Replaces entries with the same key.
void replaceEntries(TyrUtil::AttributeList& list, const TyrUtil::AttributeList& added);

} // namespace Tyr::Mek2::Helper
