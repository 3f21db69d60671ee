#pragma once
#include <cstdio>
#include <qzm/io/ResFile.h>

namespace QZM::internal {
class SharedFile;
}

/// Stream over the byte range [start, end) of a disk file, as archives hand out members.
/// Transfers read and write the file at the stream's own offset (pread/pwrite), never through
/// stdio's buffer; small reads go through a window of at most 8 KiB held by the stream.
class QZMPackFile : public QZMResFile {
public:
    char* fileName; ///< owned path of the underlying file
    FILE* file;     ///< null when closed; shared with the other members of an archive
    uint32_t start; ///< absolute offset of the first byte
    uint32_t end;   ///< absolute offset one past the last byte
    uint32_t pos;   ///< current absolute offset

    /// A closed stream.
    QZMPackFile();
    /// A null name makes the stream's name the file name.
    QZMPackFile(const char* file, unsigned start, unsigned end, unsigned mode,
                const char* name = nullptr);
    ~QZMPackFile() override;

    bool Open(const char* file, unsigned start, unsigned end, unsigned mode,
              const char* name = nullptr);
    /// As Open for reading, on a file that its holder (an archive) has open already: the stream
    /// takes a reference to it instead of opening the file again, and cuts the range at the size
    /// the file had when it was opened. `file` is the path the stream reports.
    bool OpenShared(QZM::internal::SharedFile& shared, const char* file, unsigned start,
                    unsigned end, const char* name = nullptr);

    void Close() override;
    bool Seek(int offset, int whence) override;
    bool SeekStart() override;
    /// Moves to the end and blocks transfers until the next successful seek.
    bool SeekEnd() override;
    /// Position relative to start.
    int32_t GetPos() const override;
    /// Writes are never held back: nothing to do.
    void Flush() override;
    /// Returns the bytes consumed (delimiter included) plus one, or 0 at the end.
    unsigned GetLine(char* buf, unsigned size, char delim = '\n') override;
    /// Returns the bytes consumed, delimiter included.
    unsigned GetLine(QZMString& line, unsigned size = 0xFFFFFFFF, char delim = '\n') override;
    unsigned Read(void* buf, unsigned size) override;
    unsigned Write(const void* buf, unsigned size) override;
    void PrintInfo() const override;

private:
    /// Copies the names, closes, and stores the mode; false for a missing file name.
    bool PrivateBegin(const char* file, unsigned mode, const char* name);
    /// Takes the file, cuts the range at its size and goes to the start; refuses an empty range.
    bool PrivateAttach(QZM::internal::SharedFile* opened, unsigned start, unsigned end);
    /// Reads size bytes at pos through the window, or straight into buf when they fill it.
    unsigned PrivateFetch(void* buf, unsigned size);
    /// Loads the window with the bytes from offset up to end (at most its capacity).
    bool PrivateFill(uint32_t offset);
    /// The byte at offset, or EOF; inline for the line readers' byte loops.
    int PrivateByteAt(uint32_t offset) {
        // Unsigned difference: an offset before the window gives a huge one, outside it.
        const uint32_t inWindow = offset - windowStart;
        return inWindow < windowLength ? window[inWindow] : PrivateRefillAt(offset);
    }
    int PrivateRefillAt(uint32_t offset);

    QZM::internal::SharedFile* shared;
    uint8_t* window;         ///< null until a small read needs it
    uint32_t windowCapacity;
    uint32_t windowStart;    ///< absolute offset of window[0]
    uint32_t windowLength;   ///< bytes of the file held from windowStart
    uint8_t spareByte;       ///< a one-byte window when the real one cannot be allocated
    bool fileEnded;          ///< a read met the end of the file itself (stdio's end-of-file flag)
};
