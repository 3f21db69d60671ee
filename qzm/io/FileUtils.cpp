#include <qzm/io/FileUtils.h>

#include <qzm/core/String.h>
#include <qzm/data/Text.h>
#include <qzm/io/File.h>

#include <dirent.h>
#include <fnmatch.h>
#include <mntent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>
#include <new>

namespace {

constexpr unsigned kPathMax = 4096;
constexpr unsigned kCopyChunk = 4000;

bool Skipped(const char* name, const struct stat& st, unsigned flags) {
    bool isDir = S_ISDIR(st.st_mode);
    // stat follows links, so this never fires; the flag is accepted all the same.
    if ((flags & QZMFileUtils::LIST_NO_LINKS) && S_ISLNK(st.st_mode)) return true;
    if ((flags & QZMFileUtils::LIST_NO_HIDDEN) && name[0] == '.') return true;
    if (isDir && (flags & QZMFileUtils::LIST_NO_DIRS)) return true;
    if (isDir && (flags & QZMFileUtils::LIST_NO_DOTS) &&
        (strcmp(name, ".") == 0 || strcmp(name, "..") == 0))
        return true;
    return !isDir && (flags & QZMFileUtils::LIST_NO_FILES);
}

// Appends a copy of name, doubling the array from 32 slots; false when memory runs out.
bool AppendName(char**& list, unsigned& count, unsigned& room, const char* name) {
    if (count == room) {
        unsigned grown = room ? room * 2 : 32;
        char** bigger = new (std::nothrow) char*[grown];
        if (!bigger) return false;
        if (count) memcpy(bigger, list, count * sizeof(char*));
        delete[] list;
        list = bigger;
        room = grown;
    }
    char* copy = StringCopy(name);
    if (!copy) return false;
    list[count++] = copy;
    return true;
}

} // namespace

char* StringCopy(const char* s) { return QZMString::StringCopy(s); }

bool QZMFileUtils::FileExist(const char* path) {
    struct stat st;
    return path && *path && stat(path, &st) == 0;
}

bool QZMFileUtils::IsDir(const char* path) {
    struct stat st;
    return path && *path && stat(path, &st) == 0 && S_ISDIR(st.st_mode);
}

bool QZMFileUtils::IsHidden(const char* name) { return name && name[0] == '.'; }

unsigned QZMFileUtils::FileSize(const char* path) {
    struct stat st;
    if (!path || stat(path, &st) != 0) return 0xFFFFFFFF;
    return static_cast<unsigned>(st.st_size);
}

bool QZMFileUtils::FileRemove(const char* path) { return path && unlink(path) == 0; }

bool QZMFileUtils::FileRename(const char* from, const char* to, bool overwrite) {
    if (!from || !to) return false;
    if (!overwrite && FileExist(to)) return false;
    return rename(from, to) == 0;
}

bool QZMFileUtils::FileCopy(const char* from, const char* to, bool overwrite) {
    if (!from || !to) return false;
    if (!overwrite && FileExist(to)) return false;
    QZMFile in(from, QZMResFile::READ);
    if (in.state != QZMResFile::ST_OK) return false;
    in.SeekEnd();
    unsigned size = static_cast<unsigned>(in.GetPos());
    in.SeekStart();
    QZMFile out(to, QZMResFile::WRITE);
    if (out.state != QZMResFile::ST_OK) return false;
    return CopyData(&in, &out, size) == size;
}

unsigned QZMFileUtils::CopyData(QZMResFile* from, QZMResFile* to, unsigned size) {
    if (!from || !to || size == 0) return 0;
    char buffer[kCopyChunk];
    unsigned written = 0;
    unsigned remaining = size;
    for (;;) {
        unsigned want = remaining < kCopyChunk ? remaining : kCopyChunk;
        unsigned got = from->Read(buffer, want);
        if (got == 0) break;
        written += to->Write(buffer, got);
        remaining -= got;
        if (remaining == 0) break;
    }
    return written;
}

unsigned QZMFileUtils::GetFileList(char**& list, const char* dir, const char* pattern,
                                   unsigned flags) {
    list = nullptr;
    if (!dir || !*dir || !pattern || !*pattern) return 0;
    DIR* handle = opendir(dir);
    if (!handle) return 0;
    char old[kPathMax];
    if (!getcwd(old, sizeof old) || chdir(dir) != 0) {
        closedir(handle);
        return 0;
    }

    int matchFlags = FNM_NOESCAPE | FNM_PATHNAME | FNM_PERIOD;
    if (flags & LIST_NO_CASE) matchFlags |= FNM_CASEFOLD;
    char** names = nullptr;
    unsigned count = 0, room = 0;
    bool ok = true;
    while (struct dirent* entry = readdir(handle)) {
        struct stat st;
        if (stat(entry->d_name, &st) != 0 || Skipped(entry->d_name, st, flags)) continue;
        if (fnmatch(pattern, entry->d_name, matchFlags) != 0) continue;
        if (!(ok = AppendName(names, count, room, entry->d_name))) break;
    }
    closedir(handle);
    if (chdir(old) != 0) ok = false;
    if (!ok) {
        FreeFileList(names, count);
        return 0;
    }
    list = names;
    return count;
}

void QZMFileUtils::FreeFileList(char**& list, unsigned count) {
    if (list) {
        for (unsigned i = 0; i < count; i++) delete[] list[i];
        delete[] list;
    }
    list = nullptr;
}

bool QZMFileUtils::IsRoot(const char* path) { return path && strcmp(path, "/") == 0; }

bool QZMFileUtils::IsAbsolute(const char* path) { return path && path[0] == '/'; }

bool QZMFileUtils::IsRelative(const char* path) { return !IsAbsolute(path); }

bool QZMFileUtils::GetCWD(char* buf, unsigned size) { return buf && getcwd(buf, size) != nullptr; }

char* QZMFileUtils::GetCWD() {
    char buf[kPathMax] = {};
    if (!getcwd(buf, sizeof buf)) return nullptr;
    return StringCopy(buf);
}

bool QZMFileUtils::SetCWD(const char* path) { return path && *path && chdir(path) == 0; }

char* QZMFileUtils::GetExeDir() {
    char buf[kPathMax];
    ssize_t length = readlink("/proc/self/exe", buf, sizeof buf);
    if (length < 0) return nullptr;
    if (length > ssize_t(kPathMax - 1)) length = kPathMax - 1;
    buf[length] = 0;
    char* slash = strrchr(buf, '/');
    if (slash && slash != buf) *slash = 0;
    return StringCopy(buf);
}

const char* QZMFileUtils::GetUserDocDir() {
    static char home[kPathMax];
    static bool lookedUp = false;
    if (!lookedUp) {
        lookedUp = true;
        if (const char* value = getenv("HOME")) {
            strncpy(home, value, sizeof home - 1);
            home[sizeof home - 1] = 0;
        }
    }
    return home;
}

const char* QZMFileUtils::GetUserAppDir() { return GetUserDocDir(); }

QZMText* QZMFileUtils::GetCDROMDirs() {
    QZMText* text = new (std::nothrow) QZMText(3);
    if (!text) return nullptr;
    FILE* table = setmntent("/etc/mtab", "r");
    if (!table) {
        delete text;
        return nullptr;
    }
    unsigned found = 0;
    while (struct mntent* mount = getmntent(table)) {
        if (strcmp(mount->mnt_type, "iso9660") == 0) text->SetString(found++, mount->mnt_dir);
    }
    endmntent(table);
    if (found) return text;
    delete text;
    return nullptr;
}

bool QZMFileUtils::DirCreate(const char* path) { return path && mkdir(path, 0700) == 0; }

const char* QZMFileUtils::FileName(const char* path) {
    if (!path) return nullptr;
    const char* slash = strrchr(path, '/');
    return slash ? slash + 1 : path;
}

const char* QZMFileUtils::FileExtension(const char* name) {
    if (!name || strcmp(name, ".") == 0 || strcmp(name, "..") == 0) return nullptr;
    const char* dot = strrchr(name, '.');
    return dot && dot != name ? dot + 1 : nullptr;
}

char** QZMFileUtils::DrivesList() { return nullptr; }

int QZMFileUtils::DriveType(const char*) { return 0; }
