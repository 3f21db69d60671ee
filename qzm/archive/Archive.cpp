#include <qzm/archive/Archive.h>

#include <qzm/archive/ArchPAK.h>
#include <qzm/archive/ArchQZM.h>
#include <qzm/archive/internal/Records.h>
#include <qzm/core/Log.h>
#include <qzm/core/String.h>
#include <qzm/io/File.h>
#include <qzm/io/FileUtils.h>
#include <qzm/io/PackFile.h>
#include <qzm/io/internal/SharedFile.h>

#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <cstring>
#include <ctime>
#include <memory>
#include <new>

using namespace QZM::internal;

namespace {

const char* const kTempName = "QZMARCH.TMP";
constexpr unsigned kPathMax = 4096;
constexpr unsigned kSignatureBytes = 30;
// Offsets handed to fseek must fit its long, which is 32 bits wide on x86.
constexpr uint64_t kMaxOffset = INT32_MAX;

const char* const kRule =
    "+------------------------------------------+------------+------------+------------------+";

bool SeekTo(QZMResFile& file, uint64_t offset) {
    return offset <= kMaxOffset && file.Seek(int(offset), SEEK_SET);
}

// Buffered writes to a full disk fail only when they reach the file.
bool Flushed(QZMFile& file) {
    return file.state == QZMResFile::ST_OK && file.file && fflush(file.file) == 0 &&
           !ferror(file.file);
}

bool CopyExactly(QZMFile& from, QZMFile& to, uint32_t size) {
    return QZMFileUtils::CopyData(&from, &to, size) == size;
}

// What follows the last "/" or "\\", cut to max characters; null when nothing follows.
char* MemberName(const char* name, unsigned max) {
    if (!name || !*name) return nullptr;
    const char* cut = nullptr;
    for (const char* p = name; *p; p++)
        if (*p == '/' || *p == '\\') cut = p;
    const char* base = cut ? cut + 1 : name;
    return *base ? CopyNameField(reinterpret_cast<const uint8_t*>(base), max) : nullptr;
}

// A member name with folders that stays inside wherever it is extracted: relative, no empty or
// ".." folder, and short enough to be kept whole.
bool IsRelativeMemberPath(const char* path, unsigned max) {
    if (!path || !*path || strlen(path) > max) return false;
    const char* part = path;
    for (const char* p = path;; p++) {
        if (*p != '/' && *p != '\\' && *p) continue;
        const size_t length = size_t(p - part);
        if (length == 0 || (length == 2 && part[0] == '.' && part[1] == '.')) return false;
        if (!*p) return true;
        part = p + 1;
    }
}

// A file that can be added: it exists, fits the 32-bit format and gives at least one byte.
bool OpenSource(const char* path, QZMFile& source, struct stat& st) {
    if (!path || !*path || stat(path, &st) != 0 || uint64_t(st.st_size) > kMaxOffset) return false;
    uint8_t probe;
    if (!source.Open(path, QZMResFile::READ) || source.Read(&probe, 1) != 1) return false;
    return source.SeekStart();
}

// Editing shifts the members after i, which is only right when they lie behind it, in the
// data area; archives from other writers need not be laid out so.
bool LaidOutAfter(const std::vector<ArchiveEntry*>& entries, unsigned i, uint32_t dataEnd) {
    uint64_t end = uint64_t(entries[i]->start) + entries[i]->size;
    if (end > dataEnd) return false;
    for (size_t j = i + 1; j < entries.size(); j++) {
        if (entries[j]->start < end || uint64_t(entries[j]->start) + entries[j]->size > dataEnd)
            return false;
    }
    return true;
}

// Member names come from the file: one that is absolute or climbs with ".." would be
// written outside the extraction directory.
bool StaysInside(const char* member) {
    if (member[0] == '/') return false;
    for (const char* part = member; part; part = strchr(part, '/')) {
        if (*part == '/') part++;
        if (part[0] == '.' && part[1] == '.' && (part[2] == '/' || part[2] == 0)) return false;
    }
    return true;
}

void DeleteAll(std::vector<ArchiveEntry*>& list) {
    for (ArchiveEntry* entry : list) delete entry;
    list.clear();
}

} // namespace

ArchiveEntry::ArchiveEntry(int32_t index, char* ownedName, uint32_t size, uint32_t start,
                           uint32_t date)
    : QZMSortableItem{index}, name(ownedName), size(size), start(start), date(date) {}

ArchiveEntry::~ArchiveEntry() { delete[] name; }

QZMArchive::QZMArchive(int type)
    : name(nullptr), type(type), dataEnd(0), nameIndexValid(false), memberFile(nullptr) {}

QZMArchive::~QZMArchive() { QZMArchive::Close(); }

const char* QZMArchive::Name() const { return name; }

unsigned QZMArchive::NbFiles() const { return unsigned(entries.size()); }

QZMResFile* QZMArchive::OpenFile(const char* member) const {
    int i = FindFile(member);
    return i < 0 ? nullptr : OpenResFile(unsigned(i));
}

QZMResFile* QZMArchive::OpenFile(const iterator& it) const { return OpenResFile(unsigned(it.Index())); }

bool QZMArchive::CopyFile(const char* member, const char* dest) const {
    int i = FindFile(member);
    return i >= 0 && ExtractFile(unsigned(i), dest);
}

void QZMArchive::PrintInfo() const {
    QZM::LOG("Archive %s (%d entries)\n", name ? name : "", int(entries.size()));
    for (const ArchiveEntry* e : entries)
        QZM::LOG("  %-40s   %6d bytes   date=%10d   R(%3d)\n", e->name, int(e->size), int(e->date),
                 int(e->index));
    QZM::LOG("\n");
}

const char* QZMArchive::FileName(unsigned i) const { return entries[i]->name; }

unsigned QZMArchive::FileSize(unsigned i) const { return entries[i]->size; }

unsigned QZMArchive::FileDate(unsigned i) const { return entries[i]->date; }

bool QZMArchive::FileAccess(unsigned, unsigned) const { return true; }

bool QZMArchive::IsFileHidden(unsigned) const { return false; }

bool QZMArchive::IsFile(unsigned) const { return true; }

bool QZMArchive::IsFileLink(unsigned) const { return false; }

bool QZMArchive::IsFileDir(unsigned) const { return false; }

int QZMArchive::CompareFunc(const QZMSortableItem* a, const QZMSortableItem* b) const {
    const ArchiveEntry& x = *static_cast<const ArchiveEntry*>(a);
    const ArchiveEntry& y = *static_cast<const ArchiveEntry*>(b);
    return CompareFields(x.name, x.size, x.date, y.name, y.size, y.date);
}

QZMSortableItem* QZMArchive::GetItem(unsigned i) const { return entries[i]; }

void QZMArchive::Close() {
    delete[] name;
    name = nullptr;
    DeleteAll(entries);
    PrivateInvalidateIndex();
    PrivateReleaseMemberFile();
}

int QZMArchive::FindFile(const char* member) const {
    if (!member) return -1;
    if (!nameIndexValid) {
        try {
            nameIndex.clear();
            nameIndex.reserve(entries.size());
            // emplace keeps the first of equal names: the lowest index wins.
            for (size_t i = 0; i < entries.size(); i++) nameIndex.emplace(entries[i]->name, uint32_t(i));
            nameIndexValid = true;
        } catch (const std::bad_alloc&) {
            nameIndex.clear();
        }
    }
    if (nameIndexValid) {
        auto found = nameIndex.find(member);
        return found == nameIndex.end() ? -1 : int(found->second);
    }
    for (size_t i = 0; i < entries.size(); i++)
        if (strcmp(entries[i]->name, member) == 0) return int(i);
    return -1;
}

bool QZMArchive::ExtractAll(const char* dir) const {
    if (!QZMFileUtils::IsDir(dir)) return false;
    QZMString base(dir);
    if (base.data[base.length - 1] != '/') base += '/';
    for (unsigned i = 0; i < entries.size(); i++) {
        if (!StaysInside(entries[i]->name)) continue;
        QZMString path(base);
        path += entries[i]->name;
        ExtractFile(i, path.data);
    }
    return true;
}

unsigned QZMArchive::TotalSize() const {
    uint32_t total = 0;
    for (const ArchiveEntry* e : entries) total += e->size;
    return total;
}

int QZMArchive::FindArchiveFormat(const char* path) {
    uint8_t head[kSignatureBytes] = {};
    {
        QZMFile file(path, QZMResFile::READ);
        if (file.state != QZMResFile::ST_OK || file.Read(head, sizeof head) == 0) return FORMAT_UNKNOWN;
    }
    auto starts = [&head](const char* signature, size_t n) { return memcmp(head, signature, n) == 0; };
    if (starts("QZMA", 4)) return FORMAT_QZM;
    if (starts("PACK", 4)) return FORMAT_PAK;
    if (starts("rass", 4)) return FORMAT_RASS;
    if (starts("BIFFV1  ", 8)) return FORMAT_BIF;
    if (starts("PK\x03\x04", 4)) return FORMAT_ZIP;
    if (starts("Copyright (c) 1997 Ensemble", 27)) return FORMAT_ENSEMBLE;

    // A bare index of n 12-byte records followed by a body of b bytes.
    uint64_t n = uint64_t(head[0]) | uint64_t(head[1]) << 8;
    uint64_t b = GetLE32(head + 2);
    if (QZMFileUtils::FileSize(path) == 6 + 12 * n + b) return FORMAT_INDEXED;
    return FORMAT_UNKNOWN;
}

QZMArchive* QZMArchive::OpenArchive(const char* path) {
    QZMArchive* archive = nullptr;
    switch (FindArchiveFormat(path)) {
    case FORMAT_QZM: archive = new (std::nothrow) QZMArchQZM(); break;
    case FORMAT_PAK: archive = new (std::nothrow) QZMArchPAK(); break;
    default: return nullptr;
    }
    if (archive && !archive->Open(path)) {
        delete archive;
        archive = nullptr;
    }
    return archive;
}

void QZMArchive::SetName(const char* path) {
    if (!path || !*path) return;
    PrivateReleaseMemberFile();
    delete[] name;
    name = nullptr;
    char cwd[kPathMax];
    if (QZMFileUtils::IsAbsolute(path) || !getcwd(cwd, sizeof cwd)) {
        name = StringCopy(path);
        return;
    }
    QZMString full(cwd);
    full += '/';
    full += path;
    name = StringCopy(full.data);
}

void QZMArchive::PrintContent() const {
    if (entries.empty()) {
        QZM::LOG("No files in archive.\n");
        return;
    }
    QZM::LOG("%s\n", kRule);
    QZM::LOG("|                  Files                   |     Size   |    Start   |       Date       |\n");
    QZM::LOG("%s\n", kRule);
    for (const ArchiveEntry* e : entries) {
        time_t when = time_t(e->date);
        struct tm parts = {};
        localtime_r(&when, &parts);
        QZM::LOG("| %-40s | %10d | %10d | %2d/%2d/%4d %2d:%02d |\n", e->name, int(e->size),
                 int(e->start), parts.tm_mday, parts.tm_mon + 1, parts.tm_year + 1900, parts.tm_hour,
                 parts.tm_min);
    }
    QZM::LOG("%s\n", kRule);
    QZM::LOG("  Total: %d files, %d bytes.\n", int(entries.size()), int(TotalSize()));
}

bool QZMArchive::ReadHeader(QZMFile& file, const char* magic, uint32_t& dirOffset, uint32_t& third) {
    uint8_t header[kHeaderSize];
    if (file.state != QZMResFile::ST_OK || file.Read(header, sizeof header) != sizeof header ||
        memcmp(header, magic, 4) != 0)
        return false;
    dirOffset = GetLE32(header + 4);
    third = GetLE32(header + 8);
    return true;
}

bool QZMArchive::LoadDirectory(QZMFile& file, uint32_t offset, uint64_t length, unsigned recordSize,
                               RecordParser parse, std::vector<ArchiveEntry*>& out) {
    if (!file.SeekEnd()) return false;
    int32_t fileSize = file.GetPos();
    if (fileSize < 0 || offset > uint32_t(fileSize) || offset + length > uint64_t(fileSize))
        return false;

    // Bounded by the file size checked above.
    const uint32_t count = uint32_t(length / recordSize);
    const size_t bytes = size_t(count) * recordSize;
    std::unique_ptr<uint8_t[]> records(new (std::nothrow) uint8_t[bytes ? bytes : 1]);
    if (!records || !SeekTo(file, offset) || (bytes && file.Read(records.get(), unsigned(bytes)) != bytes))
        return false;
    try {
        out.reserve(count);
    } catch (const std::bad_alloc&) {
        return false;
    }
    for (uint32_t i = 0; i < count; i++) {
        ArchiveEntry* entry = parse(records.get() + size_t(i) * recordSize, int32_t(i));
        if (!entry) {
            DeleteAll(out);
            return false;
        }
        out.push_back(entry);
    }
    return true;
}

void QZMArchive::Adopt(std::vector<ArchiveEntry*>& fresh, const char* path, uint32_t end) {
    Close();
    entries.swap(fresh);
    SetName(path);
    dataEnd = end;
}

bool QZMArchive::WriteRecords(QZMResFile& out, unsigned recordSize, RecordWriter write) const {
    const size_t bytes = entries.size() * recordSize;
    if (bytes == 0) return true;
    if (bytes / recordSize != entries.size() || bytes > UINT32_MAX) return false;
    std::unique_ptr<uint8_t[]> records(new (std::nothrow) uint8_t[bytes]);
    if (!records) return false;
    for (size_t i = 0; i < entries.size(); i++) write(*entries[i], records.get() + i * recordSize);
    return SeekTo(out, dataEnd) && out.Write(records.get(), unsigned(bytes)) == bytes;
}

bool QZMArchive::WriteHeader(QZMResFile& out, const char* magic, uint32_t dirOffset, uint32_t third) {
    uint8_t header[kHeaderSize];
    memcpy(header, magic, 4);
    PutLE32(header + 4, dirOffset);
    PutLE32(header + 8, third);
    return out.SeekStart() && out.Write(header, sizeof header) == sizeof header;
}

bool QZMArchive::CreateEmpty(const char* path, const char* magic) {
    if (!path || QZMFileUtils::FileExist(path)) return false;
    QZMFile file(path, QZMResFile::WRITE);
    if (file.state != QZMResFile::ST_OK) return false;
    if (WriteHeader(file, magic, kHeaderSize, 0) && Flushed(file)) return true;
    file.Close();
    QZMFileUtils::FileRemove(path);
    return false;
}

QZMResFile* QZMArchive::PrivateOpenMember(unsigned i) const {
    if (i >= entries.size() || !name) return nullptr;
    const ArchiveEntry& entry = *entries[i];
    // An end past 32 bits would wrap below the start.
    const uint64_t end = uint64_t(entry.start) + entry.size;
    if (end > UINT32_MAX) return nullptr;
    std::unique_ptr<QZMPackFile> member(new (std::nothrow) QZMPackFile());
    if (!member) return nullptr;
    // Members read what the path names now: another program may have replaced or rewritten it.
    if (memberFile && !memberFile->StillAt(name)) PrivateReleaseMemberFile();
    if (!memberFile) memberFile = SharedFile::Open(name, "r");
    // Without the shared file the stream opens the file itself, and fails as it would.
    const bool opened =
        memberFile ? member->OpenShared(*memberFile, name, entry.start, uint32_t(end), entry.name)
                   : member->Open(name, entry.start, uint32_t(end), QZMResFile::READ, entry.name);
    return opened ? member.release() : nullptr;
}

bool QZMArchive::PrivateExtract(unsigned i, const char* dest) const {
    if (i >= entries.size() || !dest || !*dest) return false;
    QZMFile out(dest, QZMResFile::WRITE);
    if (out.state != QZMResFile::ST_OK) return false;
    QZMFile in(name, QZMResFile::READ);
    const ArchiveEntry& entry = *entries[i];
    return in.state == QZMResFile::ST_OK && SeekTo(in, entry.start) && CopyExactly(in, out, entry.size) &&
           Flushed(out);
}

int QZMArchive::PrivateAdd(const char* path, const char* member, const Format& format) {
    char* stored = MemberName(member ? member : path, format.nameMax);
    return stored ? PrivateAddNamed(path, stored, format) : -1;
}

int QZMArchive::PrivateAddAs(const char* path, const char* memberPath, const Format& format) {
    if (!IsRelativeMemberPath(memberPath, format.nameMax)) return -1;
    char* stored = CopyNameField(reinterpret_cast<const uint8_t*>(memberPath), format.nameMax);
    return stored ? PrivateAddNamed(path, stored, format) : -1;
}

int QZMArchive::PrivateAddNamed(const char* path, char* stored, const Format& format) {
    PrivateReleaseMemberFile();
    struct stat st;
    QZMFile source(nullptr, 0);
    if (!name || !OpenSource(path, source, st)) {
        delete[] stored;
        return -1;
    }
    const uint32_t size = uint32_t(st.st_size);
    const uint32_t start = dataEnd;
    const int index = int(entries.size());
    ArchiveEntry* entry = new (std::nothrow)
        ArchiveEntry(index, stored, size, start, format.keepsDates ? uint32_t(st.st_mtime) : 0);
    if (!entry) {
        delete[] stored;
        return -1;
    }

    QZMFile archive(name, QZMResFile::READWRITE);
    bool added = archive.state == QZMResFile::ST_OK && uint64_t(start) + size <= kMaxOffset &&
                 SeekTo(archive, start) && CopyExactly(source, archive, size);
    if (added) {
        try {
            entries.push_back(entry);
            dataEnd += size;
        } catch (const std::bad_alloc&) {
            added = false;
        }
    }
    PrivateInvalidateIndex();
    if (added && format.writeDirectory(*this, archive) && Flushed(archive)) return index;

    if (added) {
        entries.pop_back();
        dataEnd = start;
    }
    delete entry;
    // The new data may have overwritten the directory: put the unchanged one back.
    format.writeDirectory(*this, archive);
    Flushed(archive);
    return -1;
}

bool QZMArchive::PrivateRemove(unsigned i, const Format& format) {
    if (i >= entries.size() || !LaidOutAfter(entries, i, dataEnd)) return false;
    PrivateReleaseMemberFile();
    ArchiveEntry* gone = entries[i];
    QZMFile archive(name, QZMResFile::READ);
    QZMFile temp(kTempName, QZMResFile::WRITE);
    if (archive.state != QZMResFile::ST_OK || temp.state != QZMResFile::ST_OK ||
        !CopyExactly(archive, temp, gone->start))
        return false;
    if (i + 1 < entries.size()) {
        uint32_t from = entries[i + 1]->start;
        if (!SeekTo(archive, from) || !CopyExactly(archive, temp, dataEnd - from)) {
            temp.Close();
            QZMFileUtils::FileRemove(kTempName);
            return false;
        }
    }
    archive.Close();

    entries.erase(entries.begin() + i);
    PrivateInvalidateIndex();
    PrivateShiftStarts(i, 0u - gone->size);
    dataEnd -= gone->size;
    if (PrivateCommitTemp(temp, format)) {
        delete gone;
        return true;
    }
    PrivateShiftStarts(i, gone->size);
    dataEnd += gone->size;
    entries.insert(entries.begin() + i, gone); // capacity is still there: cannot throw
    return false;
}

bool QZMArchive::PrivateRename(unsigned i, const char* member, const Format& format) {
    if (i >= entries.size()) return false;
    char* stored = MemberName(member, format.nameMax);
    if (!stored) return false;
    char* old = entries[i]->name;
    entries[i]->name = stored;
    PrivateInvalidateIndex();
    PrivateReleaseMemberFile();
    if (PrivateRewriteDirectory(format)) {
        delete[] old;
        return true;
    }
    entries[i]->name = old;
    delete[] stored;
    PrivateRewriteDirectory(format);
    return false;
}

bool QZMArchive::PrivateUpdate(unsigned i, const char* path, const Format& format) {
    struct stat st;
    QZMFile source(nullptr, 0);
    if (i >= entries.size() || !OpenSource(path, source, st) || !LaidOutAfter(entries, i, dataEnd))
        return false;
    PrivateReleaseMemberFile();
    ArchiveEntry& entry = *entries[i];
    const uint32_t newSize = uint32_t(st.st_size);
    const uint32_t delta = newSize - entry.size; // modular: adding it also shrinks
    if (uint64_t(dataEnd) - entry.size + newSize > kMaxOffset) return false;

    QZMFile archive(name, QZMResFile::READ);
    QZMFile temp(kTempName, QZMResFile::WRITE);
    if (archive.state != QZMResFile::ST_OK || temp.state != QZMResFile::ST_OK) return false;
    bool copied = CopyExactly(archive, temp, entry.start) && CopyExactly(source, temp, newSize);
    if (copied && i + 1 < entries.size()) {
        uint32_t from = entries[i + 1]->start;
        copied = SeekTo(archive, from) && CopyExactly(archive, temp, dataEnd - from);
    }
    archive.Close();
    if (!copied) {
        temp.Close();
        QZMFileUtils::FileRemove(kTempName);
        return false;
    }

    const uint32_t oldSize = entry.size, oldDate = entry.date;
    entry.size = newSize;
    if (format.keepsDates) entry.date = uint32_t(st.st_mtime);
    PrivateShiftStarts(i + 1, delta);
    dataEnd += delta;
    if (PrivateCommitTemp(temp, format)) return true;
    entry.size = oldSize;
    entry.date = oldDate;
    PrivateShiftStarts(i + 1, 0u - delta);
    dataEnd -= delta;
    return false;
}

bool QZMArchive::PrivateRewriteDirectory(const Format& format) {
    QZMFile archive(name, QZMResFile::READWRITE);
    return archive.state == QZMResFile::ST_OK && format.writeDirectory(*this, archive) &&
           Flushed(archive);
}

bool QZMArchive::PrivateCommitTemp(QZMFile& temp, const Format& format) {
    bool written = format.writeDirectory(*this, temp) && Flushed(temp);
    temp.Close();
    if (written && QZMFileUtils::FileRename(kTempName, name, true)) return true;
    QZMFileUtils::FileRemove(kTempName);
    return false;
}

void QZMArchive::PrivateShiftStarts(unsigned from, uint32_t delta) {
    for (size_t j = from; j < entries.size(); j++) entries[j]->start += delta;
}

void QZMArchive::PrivateInvalidateIndex() {
    nameIndexValid = false;
    nameIndex.clear();
}

void QZMArchive::PrivateReleaseMemberFile() const {
    if (memberFile) memberFile->Release();
    memberFile = nullptr;
}
