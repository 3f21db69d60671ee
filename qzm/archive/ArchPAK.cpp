// Quake PAK, all integers unsigned 32-bit little-endian:
//   0 "PACK" | 4 dirOffset | 8 dirLength (64 x records) | 12 member data
//   dirOffset: records of 64 bytes: 0 name[56] (zero-padded, no terminator at 56 characters)
//   | 56 start | 60 size   (start before size, the reverse of the native record; no dates)
// Reads: the directory may lie anywhere, a trailing partial record is ignored; the next member
// goes after the furthest member end (at least 12). Refuses: a short header, a directory
// outside the file. Writes: names cut to 56 characters, the directory after the data.
#include <qzm/archive/ArchPAK.h>

#include <qzm/archive/internal/Records.h>
#include <qzm/io/File.h>

using namespace QZM::internal;

namespace {

const char kMagic[] = "PACK";
constexpr unsigned kNameField = 56;
constexpr unsigned kRecordSize = 64;

ArchiveEntry* ParseRecord(const uint8_t* record, int32_t index) {
    char* name = CopyNameField(record, kNameField);
    if (!name) return nullptr;
    ArchiveEntry* entry =
        new (std::nothrow) ArchiveEntry(index, name, GetLE32(record + 60), GetLE32(record + 56), 0);
    if (!entry) delete[] name;
    return entry;
}

void FormatRecord(const ArchiveEntry& entry, uint8_t* record) {
    PutNameField(record, kNameField, entry.name);
    PutLE32(record + 56, entry.start);
    PutLE32(record + 60, entry.size);
}

bool WriteDirectoryOf(QZMArchive& archive, QZMResFile& out) {
    return static_cast<QZMArchPAK&>(archive).WriteDirectory(out);
}

const QZMArchive::Format kFormat = {kNameField, false, WriteDirectoryOf};

// Where the next member goes; a member end beyond 32 bits (a malformed one) is held at the top.
uint32_t FurthestEnd(const std::vector<ArchiveEntry*>& entries, uint32_t least) {
    uint64_t furthest = least;
    for (const ArchiveEntry* e : entries) {
        uint64_t end = uint64_t(e->start) + e->size;
        if (end > furthest) furthest = end;
    }
    return furthest > UINT32_MAX ? UINT32_MAX : uint32_t(furthest);
}

} // namespace

QZMArchPAK::QZMArchPAK() : QZMArchive(FORMAT_PAK) {}

QZMArchPAK::~QZMArchPAK() = default;

bool QZMArchPAK::Open(const char* path) {
    if (!path || !*path) return false;
    QZMFile file(path, QZMResFile::READ);
    uint32_t dirOffset, dirLength;
    std::vector<ArchiveEntry*> fresh;
    if (!ReadHeader(file, kMagic, dirOffset, dirLength) ||
        !LoadDirectory(file, dirOffset, dirLength, kRecordSize, ParseRecord, fresh))
        return false;
    uint32_t end = FurthestEnd(fresh, kHeaderSize);
    Adopt(fresh, path, end);
    return true;
}

const char* QZMArchPAK::FormatInfo() const { return "Id Software Quake 1/2 Archive."; }

bool QZMArchPAK::Create(const char* path) {
    if (!CreateEmpty(path, kMagic)) return false;
    // A fresh object has no data end yet; below the header it would overwrite it.
    if (dataEnd < kHeaderSize) dataEnd = kHeaderSize;
    SetName(path);
    return true;
}

void QZMArchPAK::Close() {
    QZMArchive::Close();
    dataEnd = kHeaderSize;
}

QZMResFile* QZMArchPAK::OpenResFile(unsigned i) const { return PrivateOpenMember(i); }

int QZMArchPAK::AddFile(const char* path, const char* name) { return PrivateAdd(path, name, kFormat); }

bool QZMArchPAK::RemoveFile(unsigned i) { return PrivateRemove(i, kFormat); }

bool QZMArchPAK::RenameFile(unsigned i, const char* name) { return PrivateRename(i, name, kFormat); }

bool QZMArchPAK::UpdateFile(unsigned i, const char* path) { return PrivateUpdate(i, path, kFormat); }

bool QZMArchPAK::ExtractFile(unsigned i, const char* dest) const { return PrivateExtract(i, dest); }

int QZMArchPAK::AddFileAs(const char* path, const char* memberPath) {
    return PrivateAddAs(path, memberPath, kFormat);
}

bool QZMArchPAK::WriteDirectory(QZMResFile& out) {
    if (entries.empty()) return true;
    return WriteRecords(out, kRecordSize, FormatRecord) &&
           WriteHeader(out, kMagic, dataEnd, uint32_t(entries.size() * kRecordSize));
}
