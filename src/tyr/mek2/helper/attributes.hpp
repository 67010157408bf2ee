/// @file
/// Conversion of attributes to the inner form.
#pragma once

#include "tyr/exception/raise.hpp"
#include "tyr/mek/attributelist.hpp"
#include "tyr/mek2/valuestorage.hpp"

#include <cstdint>
#include <string>
#include <vector>

namespace Tyr::Mek2::Helper {

struct Attributes {
    /// Visitor that turns one value into its inner form. Numbers are neither widened nor narrowed,
    /// but for the signed ones, which keep their low 32 bits.
    /// @throws InvalidArguments a kind that has no inner form; the location names it
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

    /// @throws InvalidArguments a kind that has no inner form
    static TyrUtil::AttributeList toAttributeList(const AttributeMap& map);
};

/// Stores each entry of `added` in `list` and replaces those of the same key.
void replaceEntries(TyrUtil::AttributeList& list, const TyrUtil::AttributeList& added);

} // namespace Tyr::Mek2::Helper
