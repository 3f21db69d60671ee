#include <qzm/gfx/Pal.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <new>

#include <qzm/core/Log.h>
#include <qzm/core/String.h>
#include <qzm/io/File.h>

// Palette files. Native: "QZMP", count (u32 LE), count x (r, g, b, a). GIMP: "GIMP Palette", then
// "r g b<tab>name" lines ('#' lines are comments). JASC: "JASC-PAL", version line, count line,
// "r g b" lines. Raw: up to 256 triplets (768 bytes), RGB or BGR order, no header.
// Counts are clamped to 4096 entries; text colour values keep their low byte.

namespace {

const uint32_t kMaxEntries = 4096;
const uint32_t kNativeMagic = 0x504D5A51; // "QZMP" read little-endian
const unsigned kRawBytes = 768;
const unsigned kLineSize = 151; // lines of up to 150 characters

const int kDetect = 0;
const int kNative = 1;
const int kGimp = 2;
const int kJasc = 3;
const int kRawRGB = 4;
const int kRawBGR = 5;

bool ReadLine(QZMResFile& f, char* line) {
    return f.GetLine(line, kLineSize, '\n') != 0;
}

// Clamped to 32 bits: a larger request is clamped to 4096 by Resize anyway.
unsigned EndIndex(unsigned first, unsigned count) {
    return static_cast<unsigned>(
        std::min<uint64_t>(static_cast<uint64_t>(first) + count, 0xFFFFFFFFu));
}

} // namespace

QZMPal::QZMPal(unsigned size) : size(0), entries(nullptr) {
    if (size == 0) return;
    entries = new (std::nothrow) QZMRGBA[size];
    if (entries) this->size = size;
}

QZMPal::QZMPal(const char* filename, int format) : size(0), entries(nullptr) {
    QZMFile file(filename, QZMResFile::READ);
    if (file.state == QZMResFile::ST_OK) Load(file, format);
}

QZMPal::QZMPal(QZMResFile& f, int format) : size(0), entries(nullptr) {
    if (f.state == QZMResFile::ST_OK) Load(f, format);
}

QZMPal::QZMPal(const QZMPal* other) : size(0), entries(nullptr) {
    if (!other) return;
    size = other->size;
    if (!other->entries) return;
    entries = new (std::nothrow) QZMRGBA[size];
    if (entries)
        std::memcpy(entries, other->entries, size * sizeof(QZMRGBA));
    else
        size = 0;
}

QZMPal::~QZMPal() {
    delete[] entries;
}

uint32_t QZMPal::MemoryUsed() const {
    return size * 4 + sizeof(*this);
}

void QZMPal::Resize(unsigned n) {
    if (n == 0) {
        delete[] entries;
        entries = nullptr;
        size = 0;
        return;
    }
    if (n > kMaxEntries) {
        QZM::LOG("Note: palette size must be < 4096 !\n");
        n = kMaxEntries;
    }
    if (n == size) return;
    QZMRGBA* grown = new (std::nothrow) QZMRGBA[n];
    if (!grown) return;
    if (entries) std::memcpy(grown, entries, std::min(n, size) * sizeof(QZMRGBA));
    delete[] entries;
    entries = grown;
    size = n;
}

void QZMPal::SetFromRGB(const unsigned char* rgb, unsigned count, unsigned first) {
    unsigned end = EndIndex(first, count);
    if (size < end) Resize(end);
    end = std::min(end, size);
    for (unsigned i = first; i < end; ++i) {
        const unsigned char* triplet = rgb + 3 * (i - first);
        entries[i] = QZMRGBA{triplet[0], triplet[1], triplet[2], 0};
    }
}

void QZMPal::SetFromRGBA(const void* rgba, unsigned count, unsigned first) {
    unsigned end = EndIndex(first, count);
    if (size < end) Resize(end);
    // A resize clamped at 4096 may leave less room than asked for: copy only what fits.
    if (first >= size) return;
    count = std::min(count, size - first);
    std::memcpy(entries + first, rgba, count * sizeof(QZMRGBA));
}

void QZMPal::GenerateGreyScale(unsigned n) {
    n = std::min(n, 256u);
    if (n > size) Resize(n);
    for (unsigned i = 0; i < size; ++i) {
        uint8_t g = static_cast<uint8_t>(256u * i / size);
        entries[i] = QZMRGBA{g, g, g, 0};
    }
}

void QZMPal::ToGreyScale() {
    for (unsigned i = 0; i < size; ++i) {
        QZMRGBA& e = entries[i];
        uint8_t g = static_cast<uint8_t>((e.r + e.g + e.b) / 3);
        e = QZMRGBA{g, g, g, 0};
    }
}

int QZMPal::FindFormat(QZMResFile& f) {
    char head[20] = {};
    f.Read(head, sizeof(head));
    f.SeekStart();
    if (std::memcmp(head, "QZMP", 4) == 0) return kNative;
    if (std::memcmp(head, "GIMP Palette", 12) == 0) return kGimp;
    if (std::memcmp(head, "JASC-PAL", 8) == 0) return kJasc;
    f.SeekEnd();
    int32_t length = f.GetPos();
    f.SeekStart();
    return length == static_cast<int32_t>(kRawBytes) ? kRawRGB : kDetect;
}

bool QZMPal::Load(QZMResFile& f, int format) {
    if (f.state != QZMResFile::ST_OK) {
        QZM::LOG("QZMPal: bad file\n");
        return false;
    }
    if (format == kDetect) format = FindFormat(f);
    switch (format) {
    case kDetect:
    case kNative: return QZMLoad(f);
    case kGimp: return GIMPLoad(f);
    case kJasc: return JASCLoad(f);
    case kRawRGB:
    case kRawBGR: return RGBLoad(f, format);
    default: QZM::LOG("Unknown palette format %d\n", format); return false;
    }
}

bool QZMPal::QZMLoad(QZMResFile& f) {
    if (f.Read32() != kNativeMagic) return false;
    // Resize clamps the count to 4096 entries (16 KiB): a short body keeps the resized palette
    // with what was read.
    Resize(f.Read32());
    unsigned bytes = size * sizeof(QZMRGBA);
    return f.Read(entries, bytes) == bytes;
}

bool QZMPal::GIMPLoad(QZMResFile& f) {
    char line[kLineSize];
    if (!ReadLine(f, line) || std::strncmp(line, "GIMP Palette", 12) != 0) {
        QZM::LOG("Not a Gimp palette\n");
        return false;
    }
    bool more = ReadLine(f, line);
    while (more && line[0] == '#') more = ReadLine(f, line);
    Resize(256);
    unsigned count = 0;
    int r = 0, g = 0, b = 0; // a line that does not parse repeats the previous colour
    while (more && count < 256 && count < size) {
        std::sscanf(line, "%d %d %d", &r, &g, &b);
        entries[count++] =
            QZMRGBA{static_cast<uint8_t>(r), static_cast<uint8_t>(g), static_cast<uint8_t>(b), 0};
        more = ReadLine(f, line);
    }
    Resize(count);
    return true;
}

bool QZMPal::JASCLoad(QZMResFile& f) {
    char line[kLineSize];
    if (!ReadLine(f, line) || std::strncmp(line, "JASC-PAL", 8) != 0) {
        QZM::LOG("Not a Paint Shop Pro palette\n");
        return false;
    }
    ReadLine(f, line);
    int count = 0;
    if (ReadLine(f, line)) std::sscanf(line, "%d", &count);
    Resize(static_cast<unsigned>(count));
    // The count is clamped by Resize: never fill past the entries it left.
    for (int i = 0; i < count && static_cast<unsigned>(i) < size; ++i) {
        if (!ReadLine(f, line)) break;
        int r = 0, g = 0, b = 0;
        std::sscanf(line, "%d %d %d", &r, &g, &b);
        entries[i] =
            QZMRGBA{static_cast<uint8_t>(r), static_cast<uint8_t>(g), static_cast<uint8_t>(b), 0};
    }
    return true;
}

bool QZMPal::RGBLoad(QZMResFile& f, int format) {
    unsigned char raw[kRawBytes];
    unsigned got = f.Read(raw, kRawBytes);
    if (got == 0) return false;
    if (size != got / 3) Resize(got / 3);
    int red = format == kRawRGB ? 0 : 2;
    for (unsigned i = 0; i < size; ++i) {
        const unsigned char* t = raw + 3 * i;
        entries[i] = QZMRGBA{t[red], t[1], t[2 - red], 0};
    }
    return true;
}

bool QZMPal::Save(QZMResFile& f, int format) {
    if (f.state != QZMResFile::ST_OK) return false;
    QZMString text;
    switch (format) {
    case kDetect:
    case kNative:
        f.Write32(kNativeMagic);
        f.Write32(size);
        f.Write(entries, size * sizeof(QZMRGBA));
        break;
    case kGimp:
        f.WriteStr("GIMP Palette\n# Generated by QZMPal\n");
        for (unsigned i = 0; i < size; ++i)
            f.WriteStr(
                text.Format("%d %d %d\tUnknown\n", entries[i].r, entries[i].g, entries[i].b));
        break;
    case kJasc:
        f.WriteStr("JASC-PAL\n0100\n");
        f.WriteStr(text.Format("%d\n", size));
        for (unsigned i = 0; i < size; ++i)
            f.WriteStr(text.Format("%d %d %d\n", entries[i].r, entries[i].g, entries[i].b));
        break;
    case kRawRGB:
    case kRawBGR: {
        unsigned char raw[kMaxEntries * 3];
        int red = format == kRawRGB ? 0 : 2;
        for (unsigned i = 0; i < size; ++i) {
            raw[3 * i + red] = entries[i].r;
            raw[3 * i + 1] = entries[i].g;
            raw[3 * i + 2 - red] = entries[i].b;
        }
        f.Write(raw, size * 3);
        break;
    }
    default: return false;
    }
    return f.state == QZMResFile::ST_OK;
}

void QZMPal::PrintInfo() const {
    QZM::LOG("Palette info (%d colors)\n---------------------------\n", size);
    for (unsigned i = 0; i < size; ++i) {
        const QZMRGBA& e = entries[i];
        QZM::LOG("[%3d] %s (%3d, %3d, %3d, %3d)\n", i, e.WebString(false), e.r, e.g, e.b, e.a);
    }
    QZM::LOG("\n");
}
