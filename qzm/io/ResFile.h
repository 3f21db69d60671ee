#pragma once
#include <cstdint>
#include <qzm/core/String.h>

/// Abstract byte stream that every loader reads and every saver writes.
class QZMResFile {
public:
    /// State codes.
    enum {
        ST_OK = 1,
        ST_SEEK_ERROR = 3,
        ST_WRITE_AT_END = 5,
        ST_READ_AT_END = 7,
        ST_CLOSED = 16,
        ST_BAD_MODE = 32,
        ST_OPEN_ERROR = 48
    };
    /// Open-mode flags; the low two bits become the stored mode.
    enum { READ = 1, WRITE = 2, READWRITE = 3, TRUNC = 4, CREATE = 8, APPEND = 16 };

    char* name;    ///< owned copy of the path or label, may be null
    uint8_t mode;  ///< 0 closed, 1 read, 2 write, 3 read/write
    uint8_t state; ///< one of the ST_ codes
    uint8_t eof;   ///< the last operation met the end of the data

    QZMResFile();
    QZMResFile(const QZMResFile&) = delete;
    QZMResFile& operator=(const QZMResFile&) = delete;

    virtual ~QZMResFile();
    virtual void Close();
    virtual bool Eof() const;
    /// whence: 0 from start, 1 from current, 2 from end.
    virtual bool Seek(int offset, int whence) = 0;
    virtual bool SeekStart() = 0;
    virtual bool SeekEnd() = 0;
    virtual int32_t GetPos() const = 0;
    virtual void Flush() = 0;
    virtual unsigned GetLine(char* buf, unsigned size, char delim = '\n') = 0;
    virtual unsigned GetLine(QZMString& line, unsigned size = 0xFFFFFFFF, char delim = '\n') = 0;
    /// Returns the number of bytes delivered.
    virtual unsigned Read(void* buf, unsigned size) = 0;
    /// Returns the number of bytes stored.
    virtual unsigned Write(const void* buf, unsigned size) = 0;
    /// Writes at most max characters of s, no terminator; returns Write's count.
    virtual unsigned WriteStr(const QZMString& s, unsigned max = 0xFFFFFFFF);
    virtual void PrintInfo() const = 0;

    // Typed readers return 0 on a short read; check Eof() or state to tell.
    uint8_t Read8();
    uint16_t Read16();
    uint16_t ReadBE16();
    uint32_t Read32();
    uint32_t ReadBE32();
    float ReadFl();
    double ReadDbl();

    bool Write8(uint8_t v);
    bool Write16(uint16_t v);
    bool WriteBE16(uint16_t v);
    bool Write32(uint32_t v);
    bool WriteBE32(uint32_t v);
    bool WriteFl(float v);
    bool WriteDbl(double v);

    /// Text for a mode or state code, as PrintInfo shows it.
    static const char* ModeText(unsigned mode);
    static const char* StateText(unsigned state);
};
