#include "tyr/qbf/chunkedcompressor.hpp"

#include <algorithm>
#include <utility>
#include <vector>

namespace TyrQbf {

namespace {

constexpr std::size_t chunkSize = std::size_t{128} * 1024;
constexpr std::size_t windowSize = std::size_t{32} * 1024;
constexpr std::size_t chunksAtOnce = 128;

/// A block, seen as chunks. An empty one has one chunk.
class Content {
public:
    Content(const unsigned char* content, std::uint32_t length) : bytes(content), size(length) {}

    std::size_t ChunkCount() const {
        return std::max<std::size_t>((size + chunkSize - 1) / chunkSize, 1);
    }

    void Compress(std::size_t number, int level, DeflatePiece& piece) const {
        const std::size_t start = number * chunkSize;
        const bool isLast = number + 1 == ChunkCount();
        CompressPiece(bytes + start, std::min(chunkSize, size - start), level,
                      isLast ? PieceEnd::Final : PieceEnd::Flush, number > 0 ? windowSize : 0,
                      piece);
    }

private:
    const unsigned char* bytes;
    std::size_t size;
};

void AddAll(const std::vector<DeflatePiece>& pieces, ZlibAssembly& stream) {
    for (const DeflatePiece& piece : pieces) {
        stream.Add(piece);
    }
}

} // namespace

ChunkedCompressor::ChunkedCompressor(ParallelFor tasks, std::int32_t compressionLevel)
    : parallelFor(std::move(tasks)), level(compressionLevel) {}

void ChunkedCompressor::operator()(const unsigned char* content, std::uint32_t length,
                                   const Sink& sink) const {
    const Content block(content, length);
    ZlibAssembly stream(level, sink);
    std::vector<DeflatePiece> compressed;
    std::vector<DeflatePiece> next;
    for (std::size_t first = 0; first < block.ChunkCount(); first += chunksAtOnce) {
        next.resize(std::min(chunksAtOnce, block.ChunkCount() - first));
        const std::size_t adding = compressed.empty() ? 0 : 1; // tasks
        RunTasks(parallelFor, adding + next.size(), [&](std::size_t index) {
            if (index < adding) {
                AddAll(compressed, stream);
            } else {
                const std::size_t number = index - adding;
                block.Compress(first + number, level, next[number]);
            }
        });
        std::swap(compressed, next);
    }
    AddAll(compressed, stream);
    stream.Finish();
}

} // namespace TyrQbf
