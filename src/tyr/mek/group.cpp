#include "tyr/mek/group.hpp"

#include "tyr/exception/raise.hpp"
#include "tyr/mek/recordlayout.hpp"
#include "tyr/qbf/encoding.hpp"

#include <algorithm>

namespace TyrMek {

namespace {

static_assert(AreFields<decltype(Group::translation), decltype(Group::rotation),
                        decltype(Group::scale), decltype(Group::rootFlag)>(GroupRecord::all),
              "the members of a group are its record");

template <std::size_t Count>
void PutFloats(TyrQbf::Index& index, const std::string& name,
               const std::array<float, Count>& values) {
    std::array<unsigned char, Count * sizeof(float)> bytes{};
    unsigned char* target = bytes.data();
    for (const float value : values) {
        target = TyrQbf::EncodeTo(target, value);
    }
    index.Put(name, bytes.data(), bytes.size());
}

} // namespace

Group::Group(const std::string& groupName, const TyrUtil::AttributeList& groupAttributes)
    : Node(groupName), attributes(groupAttributes) {}

std::string Group::GetType() const { return "Group"; }
std::string Group::GetVersion() const { return "0.4"; }

void Group::SetTranslation(const std::vector<float>& values) {
    if (values.size() != translation.size()) {
        TYR_RAISE(Tyr::Exception::InvalidArguments("invalid array size"));
    }
    std::copy(values.begin(), values.end(), translation.begin());
}

void Group::SetRotation(const std::vector<float>& values) {
    if (values.size() != rotation.size()) {
        TYR_RAISE(Tyr::Exception::InvalidArguments("invalid array size"));
    }
    std::copy(values.begin(), values.end(), rotation.begin());
}

void Group::SetScale(const std::vector<float>& values) {
    if (values.size() != scale.size()) {
        TYR_RAISE(Tyr::Exception::InvalidArguments("invalid array size"));
    }
    std::copy(values.begin(), values.end(), scale.begin());
}

void Group::WriteQb(TyrQbf::QbFile& file, const std::string& lightName,
                    const std::string& attributesName) {
    PutFloats(file.index, lightName, translation);
    PutFloats(file.index, lightName, rotation);
    PutFloats(file.index, lightName, scale);
    file.index.Put(attributesName, attributes);
    file.index.Put(lightName, rootFlag);
}

} // namespace TyrMek
