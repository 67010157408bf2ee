#include "tyr/mek/group.hpp"

#include "tyr/exception/raise.hpp"
#include "tyr/qbf/coding.hpp"

#include <algorithm>

namespace TyrMek {

namespace {

template <std::size_t Size>
void putFloats(TyrQbf::Index& index, const std::string& name,
               const std::array<float, Size>& values) {
    std::array<unsigned char, Size * sizeof(float)> bytes{};
    for (std::size_t i = 0; i < Size; ++i) {
        TyrQbf::EncodeLittleEndian(values[i], bytes.data() + i * sizeof(float));
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
    putFloats(file.index, lightName, translation);
    putFloats(file.index, lightName, rotation);
    putFloats(file.index, lightName, scale);
    file.index.Put(attributesName, attributes);
    file.index.Put(lightName, rootFlag);
}

} // namespace TyrMek
