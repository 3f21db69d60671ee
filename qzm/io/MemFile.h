#pragma once
#include <qzm/io/ResFile.h>

/// Stream over a fixed-size memory block, the caller's or its own.
class QZMMemFile : public QZMResFile {
public:
    uint8_t ownData; ///< the block is freed on Close()
    unsigned char* data;
    uint32_t size;
    uint32_t pos;

    /// A null data allocates size bytes that the stream owns.
    QZMMemFile(unsigned size, unsigned mode, unsigned char* data = nullptr, bool own = false,
               const char* name = nullptr);
    ~QZMMemFile() override;

    bool Open(unsigned size, unsigned mode, unsigned char* data = nullptr, bool own = false,
              const char* name = nullptr);

    void Close() override;
    /// Valid targets lie in [0, size): only SeekEnd() reaches the end.
    bool Seek(int offset, int whence) override;
    bool SeekStart() override;
    /// Moves to the end and blocks transfers until the next successful seek.
    bool SeekEnd() override;
    int32_t GetPos() const override;
    void Flush() override;
    /// Stops before the delimiter without consuming it; returns the count plus one.
    unsigned GetLine(char* buf, unsigned size, char delim = '\n') override;
    /// Stops before the delimiter without consuming it; returns the count.
    unsigned GetLine(QZMString& line, unsigned size = 0xFFFFFFFF, char delim = '\n') override;
    unsigned Read(void* buf, unsigned size) override;
    unsigned Write(const void* buf, unsigned size) override;
    void PrintInfo() const override;
};
