// Language file, integers little-endian:
//   0    4      magic "LanG"
//   4    1      reserved, skipped
//   5    1      N, size of the name field (0: not a language file)
//   6    N      language name, terminator included
//   6+N  4 x 4  C strings, T table offset, S string block offset, D block size
//   T    2 x C  per string: 0 when absent, else its size in the block, terminator included
//   S    D      the strings one after another
// A table or block cut short by the end of the file still loads: lengths that cannot be read
// fail the load, a short block keeps its zeros. The block gets one extra terminator, and a
// string starting past the block stays absent.
#include <qzm/data/Translator.h>

#include <qzm/core/Log.h>
#include <qzm/core/String.h>
#include <qzm/io/File.h>
#include <qzm/io/internal/Bounds.h>

#include <climits>
#include <cstdio>
#include <cstring>
#include <dirent.h>
#include <memory>
#include <new>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

QZMTranslator* QZMTranslator::m_instance = nullptr;

namespace {

const uint32_t NOT_LISTED = 0xFFFFFFFF;
const unsigned FILE_STEP = 4;
const char FALLBACK_PREFIX[] = "String #";

using Owned = std::unique_ptr<char[]>;

// Checks the magic and skips the reserved byte; returns N, the name field's size, or -1.
int ReadHeader(QZMResFile& file) {
    char magic[4];
    if (file.Read(magic, 4) != 4 || memcmp(magic, "LanG", 4) != 0) return -1;
    file.Read8();
    uint8_t size = file.Read8();
    return file.state == QZMResFile::ST_OK ? size : -1;
}

// The name field as a new[] string, zero where the file ends early; terminated here because
// the field may lack its zero.
char* ReadName(QZMResFile& file, unsigned size) {
    char* name = new (std::nothrow) char[size + 1]();
    if (name) file.Read(name, size);
    return name;
}

// Offsets past the signed 32-bit range cannot be reached by any stream.
bool SeekTo(QZMResFile& file, uint32_t offset) {
    if (offset > INT_MAX) return false;
    return file.GetPos() == static_cast<int32_t>(offset) || file.Seek(static_cast<int>(offset), 0);
}

// Measuring the block means seeking to it, which only a block too large to allocate blindly
// is worth.
bool PlausibleBlock(QZMResFile& file, uint32_t blockAt, uint32_t blockSize) {
    if (blockSize <= QZM::internal::kPlausibleBytes) return true;
    return SeekTo(file, blockAt) && QZM::internal::PlausibleAllocation(file, blockSize);
}

// The densest table holds a 2-byte length for each string pointer.
bool PlausibleTable(QZMResFile& file, uint32_t count) {
    return QZM::internal::PlausibleAllocation(file, uint64_t(count) * sizeof(char*),
                                              sizeof(char*) / 2);
}

bool EndsWith(const char* name, const char* suffix) {
    size_t n = strlen(name);
    size_t s = strlen(suffix);
    return n >= s && strcmp(name + n - s, suffix) == 0;
}

} // namespace

QZMTranslator::QZMTranslator()
    : path(nullptr), curFile(nullptr), curName(nullptr), strings(nullptr), stringData(nullptr),
      files(nullptr), initialized(false), fileCount(0), fileAlloc(0), stringCount(0),
      curIndex(NOT_LISTED) {
    memcpy(fallback, FALLBACK_PREFIX, sizeof FALLBACK_PREFIX);
}

QZMTranslator* QZMTranslator::Singleton() {
    if (!m_instance) m_instance = new (std::nothrow) QZMTranslator();
    return m_instance;
}

QZMTranslator::~QZMTranslator() {
    DeleteFileArray();
    DeleteStringArray();
    if (m_instance == this) m_instance = nullptr;
}

void QZMTranslator::DeleteFileArray() {
    for (uint32_t i = 0; i < fileCount; i++) {
        delete[] files[i].name;
        delete[] files[i].file;
    }
    delete[] files;
    delete[] path;
    files = nullptr;
    path = nullptr;
    fileCount = fileAlloc = 0;
    initialized = false;
}

void QZMTranslator::DeleteStringArray() {
    delete[] strings;
    delete[] stringData;
    delete[] curFile;
    delete[] curName;
    strings = nullptr;
    stringData = curFile = curName = nullptr;
    stringCount = 0;
    curIndex = NOT_LISTED;
}

char* QZMTranslator::StrCopy(const char* src, unsigned int start, unsigned int length) const {
    return QZMString::StringCopy(src, start, length);
}

bool QZMTranslator::IsAbsolute(const char* p) const { return p && p[0] == '/'; }

unsigned int QZMTranslator::Init(const char* dir, const char* suffix) {
    DeleteFileArray();
    DeleteStringArray();
    if (!dir || !*dir) return 0;

    QZMString scanned;
    if (IsAbsolute(dir)) {
        scanned = dir;
    } else {
        char cwd[4096];
        if (!getcwd(cwd, sizeof cwd)) return 0;
        if (strcmp(dir, "..") == 0) {
            char* slash = strrchr(cwd, '/');
            if (slash && slash != cwd) *slash = 0;
        }
        scanned = cwd;
        if (strcmp(dir, ".") != 0 && strcmp(dir, "..") != 0) {
            scanned += '/';
            scanned += dir;
        }
    }
    if (scanned.length == 0 || scanned.data[scanned.length - 1] != '/') scanned += '/';
    path = QZMString::StringCopy(scanned.data);

    DIR* listing = opendir(dir);
    if (!listing) return 0;
    while (const dirent* entry = readdir(listing)) {
        const char* name = entry->d_name;
        if (name[0] == '.' || (suffix && !EndsWith(name, suffix))) continue;
        QZMString full(path);
        full += name;
        struct stat info;
        if (stat(full.data, &info) != 0 || S_ISDIR(info.st_mode)) continue;
        char* langName = const_cast<char*>(CheckLang(full.data));
        if (langName) AddFile(langName, full.data);
    }
    closedir(listing);
    initialized = fileCount > 0;
    return fileCount;
}

// Takes ownership of name.
bool QZMTranslator::AddFile(char* name, const char* file) {
    Owned owned(name);
    if (fileCount == fileAlloc) {
        LangFile* grown = new (std::nothrow) LangFile[fileAlloc + FILE_STEP];
        if (!grown) return false;
        if (fileCount) memcpy(grown, files, fileCount * sizeof(LangFile));
        delete[] files;
        files = grown;
        fileAlloc += FILE_STEP;
    }
    files[fileCount].name = owned.release();
    files[fileCount].file = QZMString::StringCopy(file);
    fileCount++;
    return true;
}

const char* QZMTranslator::CheckLang(const char* fileName) const {
    if (!fileName) return nullptr;
    QZMFile file(fileName, QZMResFile::READ);
    if (file.state != QZMResFile::ST_OK) return nullptr;
    int nameSize = ReadHeader(file);
    return nameSize > 0 ? ReadName(file, static_cast<unsigned>(nameSize)) : nullptr;
}

const char* QZMTranslator::GetLangName(unsigned int i) const {
    return i < fileCount ? files[i].name : nullptr;
}

const char* QZMTranslator::GetLangFile(unsigned int i) const {
    return i < fileCount ? files[i].file : nullptr;
}

bool QZMTranslator::LoadName(const char* langName) {
    if (!langName) return false;
    for (uint32_t i = 0; i < fileCount; i++)
        if (strcmp(files[i].name, langName) == 0) return Load(nullptr, i);
    return false;
}

// fileName as an absolute path, relative ones from the working directory; null on failure.
char* QZMTranslator::FullPath(const char* fileName) const {
    if (IsAbsolute(fileName)) return QZMString::StringCopy(fileName);
    char cwd[1024];
    if (!getcwd(cwd, sizeof cwd)) return nullptr;
    QZMString full(cwd);
    full += '/';
    full += fileName;
    return QZMString::StringCopy(full.data);
}

bool QZMTranslator::Load(const char* fileName, unsigned int index) {
    bool byIndex = fileName == nullptr;
    if (byIndex && index >= fileCount) return false;
    Owned filePath(byIndex ? StrCopy(files[index].file, 0, NOT_LISTED) : FullPath(fileName));
    if (!filePath) return false;
    uint32_t newIndex = index;
    if (!byIndex) {
        newIndex = NOT_LISTED;
        for (uint32_t i = 0; i < fileCount; i++)
            if (strcasecmp(files[i].file, filePath.get()) == 0) newIndex = i;
    }

    QZMFile file(filePath.get(), QZMResFile::READ);
    if (file.state != QZMResFile::ST_OK) return false;
    int nameSize = ReadHeader(file);
    if (nameSize < 0) return false;
    Owned langName;
    if (byIndex) {
        if (!file.Seek(6 + nameSize, 0)) return false;
    } else {
        langName.reset(ReadName(file, static_cast<unsigned>(nameSize)));
        if (!langName || file.state != QZMResFile::ST_OK) return false;
    }
    return ReadStrings(file, filePath.release(), langName.release(), newIndex);
}

// Reads the counts, the length table and the block; takes ownership of filePath and langName.
bool QZMTranslator::ReadStrings(QZMResFile& file, char* filePath, char* langName,
                                uint32_t newIndex) {
    Owned ownedPath(filePath);
    Owned ownedName(langName);
    uint32_t count = file.Read32();
    uint32_t tableAt = file.Read32();
    uint32_t blockAt = file.Read32();
    uint32_t blockSize = file.Read32();
    if (file.state != QZMResFile::ST_OK || !PlausibleBlock(file, blockAt, blockSize)) return false;
    if (!SeekTo(file, tableAt) || !PlausibleTable(file, count)) return false;

    // One extra null entry answers GetString(stringCount).
    std::unique_ptr<char*[]> table(new (std::nothrow) char*[static_cast<size_t>(count) + 1]());
    Owned block(new (std::nothrow) char[static_cast<size_t>(blockSize) + 1]());
    if (!table || !block) return false;

    DeleteStringArray();
    uint64_t offset = 0;
    for (uint32_t i = 0; i < count; i++) {
        uint16_t length = file.Read16();
        // A failed read fails the load: the rest of the table need not be walked.
        if (file.state != QZMResFile::ST_OK) break;
        if (length == 0) continue;
        if (offset < blockSize) table[i] = block.get() + offset;
        offset += length;
    }
    if (file.state != QZMResFile::ST_OK) return false;
    if (SeekTo(file, blockAt)) file.Read(block.get(), blockSize);

    strings = table.release();
    stringData = block.release();
    stringCount = count;
    curFile = ownedPath.release();
    curName = ownedName.release();
    curIndex = newIndex;
    return true;
}

const char* QZMTranslator::GetCurName() const {
    return curIndex == NOT_LISTED || curIndex >= fileCount ? curName : files[curIndex].name;
}

const char* QZMTranslator::GetCurFile() const { return curFile; }

const char* QZMTranslator::GetString(unsigned int n) {
    if (n > stringCount) {
        snprintf(fallback, sizeof fallback, "%s%u", FALLBACK_PREFIX, n);
        return fallback;
    }
    return strings ? strings[n] : nullptr;
}

void QZMTranslator::PrintInfo(bool withStrings) const {
    if (fileCount > 0) {
        QZM::LOG("Path : %s\nFiles:\n", path ? path : "(null)");
        for (uint32_t i = 0; i < fileCount; i++)
            QZM::LOG("-[%d] %s (%s)\n", i, files[i].name, files[i].file);
    }
    if (stringCount == 0) {
        QZM::LOG("No file loaded.\n");
        return;
    }
    const char* name = GetCurName();
    QZM::LOG("Lang file : %s\nLanguage  : %s\nStrings   : %d\n", curFile, name ? name : "(null)",
             stringCount);
    if (!withStrings) return;
    QZM::LOG("Strings:\n");
    for (uint32_t i = 0; i < stringCount; i++)
        QZM::LOG("-[%d] %s\n", i, strings[i] ? strings[i] : "(null)");
}
