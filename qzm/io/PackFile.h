#pragma once
#include <cstdio>
#include <qzm/io/ResFile.h>

/// Stream over the byte range [start, end) of a disk file, as archives hand out members.
class QZMPackFile : public QZMResFile {
public:
    char* fileName; ///< owned path of the underlying file
    FILE* file;     ///< owned, null when closed
    uint32_t start; ///< absolute offset of the first byte
    uint32_t end;   ///< absolute offset one past the last byte
    uint32_t pos;   ///< current absolute offset

    /// A null name makes the stream's name the file name.
    QZMPackFile(const char* file, unsigned start, unsigned end, unsigned mode,
                const char* name = nullptr);
    ~QZMPackFile() override;

    bool Open(const char* file, unsigned start, unsigned end, unsigned mode,
              const char* name = nullptr);

    void Close() override;
    bool Seek(int offset, int whence) override;
    bool SeekStart() override;
    /// Moves to the end and blocks transfers until the next successful seek.
    bool SeekEnd() override;
    /// Position relative to start.
    int32_t GetPos() const override;
    void Flush() override;
    /// Returns the bytes consumed (delimiter included) plus one, or 0 at the end.
    unsigned GetLine(char* buf, unsigned size, char delim = '\n') override;
    /// Returns the bytes consumed, delimiter included.
    unsigned GetLine(QZMString& line, unsigned size = 0xFFFFFFFF, char delim = '\n') override;
    unsigned Read(void* buf, unsigned size) override;
    unsigned Write(const void* buf, unsigned size) override;
    void PrintInfo() const override;
};
