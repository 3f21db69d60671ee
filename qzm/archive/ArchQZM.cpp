// Native archive, all integers unsigned 32-bit little-endian:
//   0 "QZMA" | 4 dirOffset (= end of the data) | 8 count | 12 member data, back to back
//   dirOffset: count records of 44 bytes, the last thing in the file:
//   0 name[32] (at most 31 characters, zero-terminated, zero-padded) | 32 size | 36 start | 40 date
// Reads: a header counting 0 members opens empty whatever its offset; a name field without a
// terminator is cut at 31 characters. Refuses: a short header, a directory outside the file or
// starting inside the header. Writes: names cut to 31 characters, dates from the source files.
#include <qzm/archive/ArchQZM.h>

#include <qzm/archive/internal/Records.h>
#include <qzm/io/File.h>

using namespace QZM::internal;

namespace {

const char kMagic[] = "QZMA";
constexpr unsigned kNameField = 32;
constexpr unsigned kRecordSize = 44;

ArchiveEntry* ParseRecord(const uint8_t* record, int32_t index) {
    char* name = CopyNameField(record, kNameField - 1);
    if (!name) return nullptr;
    ArchiveEntry* entry = new (std::nothrow) ArchiveEntry(
        index, name, GetLE32(record + 32), GetLE32(record + 36), GetLE32(record + 40));
    if (!entry) delete[] name;
    return entry;
}

void FormatRecord(const ArchiveEntry& entry, uint8_t* record) {
    PutNameField(record, kNameField, entry.name);
    record[kNameField - 1] = 0;
    PutLE32(record + 32, entry.size);
    PutLE32(record + 36, entry.start);
    PutLE32(record + 40, entry.date);
}

bool WriteDirectoryOf(QZMArchive& archive, QZMResFile& out) {
    return static_cast<QZMArchQZM&>(archive).WriteDirectory(out);
}

const QZMArchive::Format kFormat = {kNameField - 1, true, WriteDirectoryOf};

} // namespace

QZMArchQZM::QZMArchQZM() : QZMArchive(FORMAT_QZM) {}

QZMArchQZM::~QZMArchQZM() = default;

bool QZMArchQZM::Open(const char* path) {
    if (!path || !*path) return false;
    QZMFile file(path, QZMResFile::READ);
    uint32_t dirOffset, count;
    if (!ReadHeader(file, kMagic, dirOffset, count)) return false;
    std::vector<ArchiveEntry*> fresh;
    if (count == 0) {
        Adopt(fresh, path, kHeaderSize);
        return true;
    }
    if (dirOffset < kHeaderSize ||
        !LoadDirectory(file, dirOffset, uint64_t(count) * kRecordSize, kRecordSize, ParseRecord, fresh))
        return false;
    Adopt(fresh, path, dirOffset);
    return true;
}

const char* QZMArchQZM::FormatInfo() const { return "QZM Archive v1.00"; }

bool QZMArchQZM::Create(const char* path) {
    if (!CreateEmpty(path, kMagic)) return false;
    Close();
    SetName(path);
    return true;
}

void QZMArchQZM::Close() {
    QZMArchive::Close();
    dataEnd = kHeaderSize;
}

QZMResFile* QZMArchQZM::OpenResFile(unsigned i) const { return PrivateOpenMember(i); }

int QZMArchQZM::AddFile(const char* path, const char* name) { return PrivateAdd(path, name, kFormat); }

bool QZMArchQZM::RemoveFile(unsigned i) { return PrivateRemove(i, kFormat); }

bool QZMArchQZM::RenameFile(unsigned i, const char* name) { return PrivateRename(i, name, kFormat); }

bool QZMArchQZM::UpdateFile(unsigned i, const char* path) { return PrivateUpdate(i, path, kFormat); }

bool QZMArchQZM::ExtractFile(unsigned i, const char* dest) const { return PrivateExtract(i, dest); }

int QZMArchQZM::AddFileAs(const char* path, const char* memberPath) {
    return PrivateAddAs(path, memberPath, kFormat);
}

bool QZMArchQZM::WriteDirectory(QZMResFile& out) {
    if (entries.empty()) return true;
    return WriteRecords(out, kRecordSize, FormatRecord) &&
           WriteHeader(out, kMagic, dataEnd, uint32_t(entries.size()));
}
