#pragma once
#include <cstdio>
#include <qzm/io/ResFile.h>

/// Stream over a disk file.
class QZMFile : public QZMResFile {
public:
    FILE* file; ///< owned, null when closed

    QZMFile(const char* name, unsigned mode);
    ~QZMFile() override;

    bool Open(const char* name, unsigned mode);

    void Close() override;
    bool Eof() const override;
    bool Seek(int offset, int whence) override;
    bool SeekStart() override;
    bool SeekEnd() override;
    int32_t GetPos() const override;
    void Flush() override;
    /// Returns the characters stored plus one, or 0 at the end.
    unsigned GetLine(char* buf, unsigned size, char delim = '\n') override;
    /// Returns the bytes consumed, delimiter included.
    unsigned GetLine(QZMString& line, unsigned size = 0xFFFFFFFF, char delim = '\n') override;
    unsigned Read(void* buf, unsigned size) override;
    unsigned Write(const void* buf, unsigned size) override;
    void PrintInfo() const override;
};
