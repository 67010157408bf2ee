#include <tyr/mek2/packedarray.hpp>

#include "tyr/exception/raise.hpp"
#include "tyr/mek/byteshuffle.hpp"
#include "tyr/mek2/packedrows.hpp"
#include "tyr/qbf/parallelfor.hpp"
#include "tyr/type/traits.hpp"

#include <algorithm>
#include <cstring>
#include <limits>
#include <utility>

namespace Tyr::Mek2 {

namespace {

[[noreturn]] void raiseInvalid() {
    TYR_RAISE(Exception::InvalidArguments("a packed array is invalid"));
}

void refuseTooManyBytes(std::uint64_t rows, std::uint64_t width) {
    constexpr std::uint64_t largest = std::numeric_limits<std::uint32_t>::max();
    if (rows > largest / (width * PackedHead::valueSize)) {
        TYR_RAISE(Exception::OverflowError());
    }
}

/// The compressed bytes of a description.
/// @throws InvalidArguments the description is invalid
std::uint64_t sizeOf(const PackedHead& head) {
    const bool isKnown = head.elementType == Type::Traits<float>::elementType ||
                         head.elementType == Type::Traits<unsigned int>::elementType;
    if (!isKnown || head.width == 0 || head.width > PackedHead::largestWidth) {
        raiseInvalid();
    }
    std::uint64_t size = 0;
    for (std::size_t plane = 0; plane < head.planeCount(); ++plane) {
        if ((head.planes[plane].size == 0) != (head.rows == 0)) {
            raiseInvalid();
        }
        size += head.planes[plane].size;
    }
    return size;
}

/// Compresses the planes of `head` and sets their sizes and checksums.
std::shared_ptr<const PackedStorage> pack(const void* values, PackedHead head, int level,
                                          const ParallelFor& parallelFor) {
    std::vector<TyrQbf::DeflatePiece> planes(head.planeCount());
    TyrQbf::RunTasks(parallelFor, planes.size(), [&](std::size_t number) {
        std::vector<unsigned char> plane(static_cast<std::size_t>(head.rows));
        TyrMek::ShufflePlane(values, head.rows, static_cast<std::uint8_t>(head.width),
                             static_cast<std::uint32_t>(number), plane.data());
        TyrQbf::DeflatePiece& piece = planes[number];
        TyrQbf::CompressPiece(plane.data(), plane.size(), level, TyrQbf::PieceEnd::Flush, 0, piece);
        piece.bytes.shrink_to_fit();
    });
    std::size_t size = 0;
    for (const TyrQbf::DeflatePiece& plane : planes) {
        size += plane.bytes.size();
    }
    auto whole = std::make_shared<TyrQbf::DeflatePiece>();
    whole->bytes.reserve(size);
    for (std::size_t number = 0; number < planes.size(); ++number) {
        TyrQbf::DeflatePiece& plane = planes[number];
        head.planes[number] = {static_cast<std::uint32_t>(plane.bytes.size()), plane.checksum};
        whole->AppendContent(plane.contentLength, plane.checksum);
        whole->bytes.insert(whole->bytes.end(), plane.bytes.begin(), plane.bytes.end());
        plane = {};
    }
    return std::make_shared<const PackedStorage>(PackedStorage{head, std::move(whole)});
}

template <class T>
std::shared_ptr<const PackedStorage> packRows(const T* values, std::size_t rows, std::size_t width,
                                              int level, const ParallelFor& parallelFor) {
    if (rows == 0) {
        return nullptr;
    }
    if (width == 0 || width > PackedHead::largestWidth) {
        TYR_RAISE(Exception::InvalidArguments("the width of a packed array is not 1 to 6"));
    }
    if (level < 1 || level > 9) {
        TYR_RAISE(Exception::InvalidArguments("compressionLevel is not 1 to 9"));
    }
    refuseTooManyBytes(rows, width);
    PackedHead head;
    head.rows = rows;
    head.width = static_cast<std::uint32_t>(width);
    head.elementType = Type::Traits<T>::elementType;
    return pack(values, head, level, parallelFor);
}

/// Adds the rows of a part to `whole`, and the sizes and checksums of its planes.
void append(PackedHead& whole, const PackedHead& part, std::size_t number) {
    if (part.rows == 0) {
        return;
    }
    if (whole.rows == 0) {
        whole = part;
        return;
    }
    if (part.width != whole.width || part.elementType != whole.elementType) {
        const std::string message =
            "part " + std::to_string(number) + " of an array differs in width or element type";
        TYR_RAISE(Exception::InvalidArguments(message.c_str()));
    }
    for (std::size_t plane = 0; plane < whole.planeCount(); ++plane) {
        TyrQbf::DeflatePiece joined;
        joined.AppendContent(whole.rows, whole.planes[plane].checksum);
        joined.AppendContent(part.rows, part.planes[plane].checksum);
        const std::uint64_t size =
            std::uint64_t{whole.planes[plane].size} + part.planes[plane].size;
        if (size > std::numeric_limits<std::uint32_t>::max()) {
            TYR_RAISE(Exception::OverflowError());
        }
        whole.planes[plane] = {static_cast<std::uint32_t>(size), joined.checksum};
    }
    whole.rows += part.rows;
    refuseTooManyBytes(whole.rows, whole.width);
}

/// The description of the rows of all parts.
PackedHead join(const std::vector<PackedHead>& parts) {
    PackedHead whole;
    for (std::size_t number = 0; number < parts.size(); ++number) {
        sizeOf(parts[number]);
        append(whole, parts[number], number);
    }
    return whole;
}

/// A piece with the content of all planes, without bytes.
TyrQbf::DeflatePiece pieceOf(const PackedHead& head) {
    TyrQbf::DeflatePiece piece;
    for (std::size_t plane = 0; plane < head.planeCount(); ++plane) {
        piece.AppendContent(head.rows, head.planes[plane].checksum);
    }
    return piece;
}

} // namespace

PackedArray::PackedArray() = default;

PackedArray::PackedArray(const float* values, std::size_t rows, std::size_t width,
                         int compressionLevel, const ParallelFor& parallelFor)
    : data_(packRows(values, rows, width, compressionLevel, parallelFor)) {}

PackedArray::PackedArray(const unsigned int* values, std::size_t rows, std::size_t width,
                         int compressionLevel, const ParallelFor& parallelFor)
    : data_(packRows(values, rows, width, compressionLevel, parallelFor)) {}

PackedArray PackedArray::concatenate(const std::vector<PackedArray>& parts) {
    std::vector<PackedHead> heads;
    heads.reserve(parts.size());
    for (const PackedArray& part : parts) {
        heads.push_back(part.head());
    }
    PackedAssembly assembly(heads);
    for (std::size_t part = 0; part < parts.size(); ++part) {
        const unsigned char* source = parts[part].data();
        for (std::size_t plane = 0; plane < heads[part].planeCount() && source != nullptr;
             ++plane) {
            const std::size_t size = heads[part].planes[plane].size;
            std::copy_n(source, size, assembly.target(part, plane));
            source += size;
        }
    }
    return assembly.finish();
}

std::string PackedArray::toBytes() const {
    std::string bytes(reinterpret_cast<const char*>(&head()), sizeof(PackedHead));
    if (size() != 0) {
        bytes.append(reinterpret_cast<const char*>(data()), size());
    }
    return bytes;
}

PackedArray PackedArray::fromBytes(const std::string& bytes) {
    PackedHead head;
    if (bytes.size() < sizeof head) {
        raiseInvalid();
    }
    std::memcpy(&head, bytes.data(), sizeof head);
    if (sizeOf(head) != bytes.size() - sizeof head) {
        raiseInvalid();
    }
    PackedAssembly assembly({head});
    if (head.rows != 0) {
        std::copy(bytes.begin() + sizeof head, bytes.end(), assembly.target(0, 0));
    }
    return assembly.finish();
}

const PackedHead& PackedArray::head() const {
    static const PackedHead empty{};
    return data_ != nullptr ? data_->head : empty;
}

const unsigned char* PackedArray::data() const {
    return data_ != nullptr ? data_->piece->bytes.data() : nullptr;
}

std::size_t PackedArray::size() const { return data_ != nullptr ? data_->piece->bytes.size() : 0; }

PackedAssembly::PackedAssembly(const std::vector<PackedHead>& parts)
    : whole_(std::make_shared<PackedStorage>()), partCount_(parts.size()) {
    const PackedHead& head = whole_->head = join(parts);
    if (head.rows == 0) {
        return;
    }
    offsets_.reserve(head.planeCount() * partCount_);
    std::size_t size = 0;
    for (std::size_t plane = 0; plane < head.planeCount(); ++plane) {
        for (const PackedHead& part : parts) {
            offsets_.push_back(size);
            size += part.rows != 0 ? part.planes[plane].size : 0;
        }
    }
    bytes_.resize(size);
}

PackedAssembly::~PackedAssembly() = default;

unsigned char* PackedAssembly::target(std::size_t part, std::size_t plane) {
    return bytes_.data() + offsets_[plane * partCount_ + part];
}

PackedArray PackedAssembly::finish() {
    PackedArray array;
    if (whole_->head.rows == 0) {
        return array;
    }
    auto piece = std::make_shared<TyrQbf::DeflatePiece>(pieceOf(whole_->head));
    piece->bytes = std::move(bytes_);
    whole_->piece = std::move(piece);
    array.data_ = std::move(whole_);
    return array;
}

PackedStream::PackedStream(const std::vector<PackedHead>& parts, PackedSource& source) {
    const PackedHead head = join(parts);
    if (head.rows == 0) {
        return;
    }
    auto bytes = std::make_shared<TyrQbf::PieceSource>();
    bytes->size = sizeOf(head);
    bytes->load = [&parts, &source] {
        PackedAssembly assembly(parts);
        source.load(assembly);
        return std::move(assembly.bytes_);
    };
    bytes->read = [&source](const TyrQbf::Sink& sink) { source.read(sink); };
    auto piece = std::make_shared<TyrQbf::DeflatePiece>(pieceOf(head));
    piece->source = std::move(bytes);
    data_ = std::make_shared<const PackedStorage>(PackedStorage{head, std::move(piece)});
}

} // namespace Tyr::Mek2
