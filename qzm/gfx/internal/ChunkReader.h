#pragma once
#include <cstdint>
#include <cstring>
#include <qzm/io/ResFile.h>

namespace QZM::internal {

/// Byte-at-a-time access to a stream for the run-length decoders, refilled in blocks: one Read
/// per block instead of one per byte.
class ChunkReader {
public:
    explicit ChunkReader(QZMResFile& file) : file(file) {}
    ChunkReader(const ChunkReader&) = delete;
    ChunkReader& operator=(const ChunkReader&) = delete;

    /// True once every byte of the stream has been handed out.
    bool AtEnd() { return cur == end && !Refill(); }

    /// The next byte; 0 past the end, as the stream's Read8 gives.
    uint8_t Next() { return cur != end || Refill() ? *cur++ : 0; }

    /// Copies the next n bytes; the part past the end is zeroed.
    void Take(uint8_t* dst, unsigned n) {
        while (n > 0 && (cur != end || Refill())) {
            unsigned part = unsigned(end - cur) < n ? unsigned(end - cur) : n;
            memcpy(dst, cur, part);
            cur += part;
            dst += part;
            n -= part;
        }
        memset(dst, 0, n);
    }

private:
    bool Refill() {
        if (done) return false;
        unsigned n = file.Read(buf, sizeof buf);
        done = n < sizeof buf;
        cur = buf;
        end = buf + n;
        return n > 0;
    }

    QZMResFile& file;
    uint8_t buf[16384];
    const uint8_t* cur = buf;
    const uint8_t* end = buf;
    bool done = false;
};

} // namespace QZM::internal
