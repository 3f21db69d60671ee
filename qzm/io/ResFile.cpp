#include <qzm/io/ResFile.h>

#include <cstring>

QZMResFile::QZMResFile() : name(nullptr), mode(0), state(ST_CLOSED), eof(1) {}

QZMResFile::~QZMResFile() {}

void QZMResFile::Close() {
    delete[] name;
    name = nullptr;
    mode = 0;
    state = ST_CLOSED;
    eof = 1;
}

bool QZMResFile::Eof() const { return eof == 1; }

unsigned QZMResFile::WriteStr(const QZMString& s, unsigned max) {
    return Write(s.data, s.length < max ? s.length : max);
}

// The byte orders are assembled by hand so that the host's order never matters.

uint8_t QZMResFile::Read8() {
    uint8_t b;
    return Read(&b, 1) == 1 ? b : 0;
}

uint16_t QZMResFile::Read16() {
    uint8_t b[2];
    if (Read(b, 2) != 2) return 0;
    return static_cast<uint16_t>(b[0] | b[1] << 8);
}

uint16_t QZMResFile::ReadBE16() {
    uint8_t b[2];
    if (Read(b, 2) != 2) return 0;
    return static_cast<uint16_t>(b[0] << 8 | b[1]);
}

uint32_t QZMResFile::Read32() {
    uint8_t b[4];
    if (Read(b, 4) != 4) return 0;
    return uint32_t(b[0]) | uint32_t(b[1]) << 8 | uint32_t(b[2]) << 16 | uint32_t(b[3]) << 24;
}

uint32_t QZMResFile::ReadBE32() {
    uint8_t b[4];
    if (Read(b, 4) != 4) return 0;
    return uint32_t(b[0]) << 24 | uint32_t(b[1]) << 16 | uint32_t(b[2]) << 8 | uint32_t(b[3]);
}

float QZMResFile::ReadFl() {
    uint32_t bits = Read32();
    float v;
    memcpy(&v, &bits, sizeof v);
    return v;
}

double QZMResFile::ReadDbl() {
    uint8_t b[8];
    if (Read(b, 8) != 8) return 0.0;
    uint64_t bits = 0;
    for (int i = 7; i >= 0; i--) bits = bits << 8 | b[i];
    double v;
    memcpy(&v, &bits, sizeof v);
    return v;
}

bool QZMResFile::Write8(uint8_t v) { return Write(&v, 1) == 1; }

bool QZMResFile::Write16(uint16_t v) {
    const uint8_t b[2] = {uint8_t(v), uint8_t(v >> 8)};
    return Write(b, 2) == 2;
}

bool QZMResFile::WriteBE16(uint16_t v) {
    const uint8_t b[2] = {uint8_t(v >> 8), uint8_t(v)};
    return Write(b, 2) == 2;
}

bool QZMResFile::Write32(uint32_t v) {
    const uint8_t b[4] = {uint8_t(v), uint8_t(v >> 8), uint8_t(v >> 16), uint8_t(v >> 24)};
    return Write(b, 4) == 4;
}

bool QZMResFile::WriteBE32(uint32_t v) {
    const uint8_t b[4] = {uint8_t(v >> 24), uint8_t(v >> 16), uint8_t(v >> 8), uint8_t(v)};
    return Write(b, 4) == 4;
}

bool QZMResFile::WriteFl(float v) {
    uint32_t bits;
    memcpy(&bits, &v, sizeof bits);
    return Write32(bits);
}

bool QZMResFile::WriteDbl(double v) {
    uint64_t bits;
    memcpy(&bits, &v, sizeof bits);
    uint8_t b[8];
    for (int i = 0; i < 8; i++) b[i] = uint8_t(bits >> (8 * i));
    return Write(b, 8) == 8;
}

const char* QZMResFile::ModeText(unsigned mode) {
    switch (mode) {
    case 1: return "read only";
    case 2: return "write only";
    case 3: return "read/write";
    default: return "error";
    }
}

const char* QZMResFile::StateText(unsigned state) {
    switch (state) {
    case ST_OK: return "OK";
    case ST_SEEK_ERROR: return "fseek error";
    case ST_WRITE_AT_END: return "write at end";
    case ST_READ_AT_END: return "read at end";
    case ST_CLOSED: return "file closed";
    case ST_BAD_MODE: return "bad open mode";
    case ST_OPEN_ERROR: return "open error";
    default: return "unknown";
    }
}
