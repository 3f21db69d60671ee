#pragma once
// Shared by the fuzz targets: readers see the input through the library's own streams.
#include <qzm/core/Log.h>
#include <qzm/io/MemFile.h>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <unistd.h>
#include <vector>

namespace qzmfuzz {

/// A private copy of the input behind a read-only memory stream (the stream wants a mutable block).
class InputStream {
public:
    InputStream(const uint8_t* data, size_t size)
        : bytes(data, data + size),
          stream(static_cast<unsigned>(bytes.size()), QZMResFile::READ, bytes.data()) {}
    QZMResFile& file() { return stream; }

private:
    std::vector<unsigned char> bytes;
    QZMMemFile stream;
};

/// The input written to a per-process scratch file, for readers that open files by name.
inline std::string ScratchFile(const uint8_t* data, size_t size) {
    std::string path = "/tmp/qzmfuzz-" + std::to_string(getpid()) + ".bin";
    if (FILE* f = fopen(path.c_str(), "wb")) {
        fwrite(data, 1, size, f);
        fclose(f);
    }
    return path;
}

/// Readers log what they reject; the fuzzer's output stays readable without it.
inline void Quiet() { QZM::SetLogLevel(0); }

} // namespace qzmfuzz
