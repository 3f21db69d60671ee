#include <qzm/archive/Dir.h>

#include <qzm/core/Log.h>
#include <qzm/io/File.h>
#include <qzm/io/FileUtils.h>

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <new>

namespace {

constexpr unsigned kPathMax = 4096;

// Remembers the process's current directory and returns to it when destroyed.
class CwdKeeper {
public:
    CwdKeeper() : saved(getcwd(old, sizeof old) != nullptr) {}
    ~CwdKeeper() {
        // Nothing sensible is left to do when the old directory vanished meanwhile.
        if (saved && chdir(old) != 0) return;
    }
    CwdKeeper(const CwdKeeper&) = delete;
    CwdKeeper& operator=(const CwdKeeper&) = delete;

    bool Saved() const { return saved; }

private:
    char old[kPathMax];
    bool saved;
};

// A relative name is taken relative to the directory.
QZMString Resolve(const QZMString& dir, const char* name) {
    if (QZMFileUtils::IsAbsolute(name)) return QZMString(name);
    QZMString full(dir);
    full += '/';
    full += name;
    return full;
}

// Fills item from the entry's lstat, or its target's stat for a link; false to skip it.
bool Examine(const char* name, QZMDirItem& item) {
    struct stat st;
    if (lstat(name, &st) != 0) return false;
    uint32_t extra = 0;
    if (S_ISLNK(st.st_mode)) {
        if (stat(name, &st) != 0) return false;
        extra = QZMDirItem::LINK;
    }
    if (name[0] == '.') extra |= QZMDirItem::HIDDEN;
    item.flags = uint32_t(st.st_mode) | extra;
    item.size = uint32_t(st.st_size);
    item.date = uint32_t(st.st_mtime);
    return true;
}

} // namespace

QZMDir::QZMDir(const char* path) : items(nullptr), count(0), subdirs(0), sortFlags(0) {
    if (!path || !Open(path)) GoCWD();
}

QZMDir::~QZMDir() { Clear(); }

bool QZMDir::Open(const char* newPath) {
    if (!newPath || !*newPath) return false;
    if (strcmp(newPath, ".") == 0) {
        if (path.length) Update();
        else GoCWD();
        return true;
    }

    CwdKeeper keeper;
    if (!keeper.Saved()) return false;
    if (!QZMFileUtils::IsAbsolute(newPath) && path.length && chdir(path.data) != 0) return false;
    char resolved[kPathMax];
    if (chdir(newPath) != 0 || !getcwd(resolved, sizeof resolved)) return false;

    QZMString oldPath(path);
    path = resolved;
    if (GetContent()) return true;
    path = oldPath;
    return false;
}

const char* QZMDir::Name() const { return path.length ? path.data : nullptr; }

unsigned QZMDir::NbFiles() const { return count; }

void QZMDir::Update() {
    CwdKeeper keeper;
    if (keeper.Saved() && path.length && chdir(path.data) == 0) GetContent();
}

QZMResFile* QZMDir::OpenFile(const char* name) const {
    if (!name || !*name) return nullptr;
    QZMFile* file = new (std::nothrow) QZMFile(Resolve(path, name).data, QZMResFile::READ);
    if (file && file->state != QZMResFile::ST_OK) {
        delete file;
        file = nullptr;
    }
    return file;
}

QZMResFile* QZMDir::OpenFile(const iterator& it) const {
    unsigned index = unsigned(it.Index());
    return index < count ? OpenFile(FileName(index)) : nullptr;
}

bool QZMDir::CopyFile(const char* name, const char* dest) const {
    if (!name || !*name || !dest || !*dest) return false;
    return QZMFileUtils::FileCopy(Resolve(path, name).data, Resolve(path, dest).data, true);
}

void QZMDir::PrintInfo() const {
    QZM::LOG("Path: %s\nTotal entries : %d  (%d subdirs)\n", path.length ? path.data : "",
             int(count), int(subdirs));
    for (uint32_t i = 0; i < count; i++)
        QZM::LOG("  %-40s   %6d bytes   date=%10d   R(%3d)\n", items[i].name, int(items[i].size),
                 int(items[i].date), int(items[i].index));
    QZM::LOG("\n");
}

const char* QZMDir::FileName(unsigned i) const { return items[i].name; }

unsigned QZMDir::FileSize(unsigned i) const { return items[i].size; }

unsigned QZMDir::FileDate(unsigned i) const { return items[i].date; }

bool QZMDir::FileAccess(unsigned i, unsigned mask) const { return (items[i].flags & mask) == mask; }

bool QZMDir::IsFileHidden(unsigned i) const { return items[i].flags & QZMDirItem::HIDDEN; }

bool QZMDir::IsFile(unsigned i) const { return items[i].flags & S_IFREG; }

bool QZMDir::IsFileLink(unsigned i) const { return items[i].flags & QZMDirItem::LINK; }

bool QZMDir::IsFileDir(unsigned i) const { return items[i].flags & S_IFDIR; }

int QZMDir::CompareFunc(const QZMSortableItem* a, const QZMSortableItem* b) const {
    const QZMDirItem& x = *static_cast<const QZMDirItem*>(a);
    const QZMDirItem& y = *static_cast<const QZMDirItem*>(b);
    if (dirsFirst) {
        bool xDir = x.flags & S_IFDIR, yDir = y.flags & S_IFDIR;
        if (xDir != yDir) return xDir ? -1 : 1;
    }
    return CompareFields(x.name, x.size, x.date, y.name, y.size, y.date);
}

QZMSortableItem* QZMDir::GetItem(unsigned i) const { return &items[i]; }

void QZMDir::GoUp() {
    if (!path.length || QZMFileUtils::IsRoot(path.data)) return;
    QZMString parent(path);
    char* slash = strrchr(parent.data, '/');
    if (!slash) return;
    slash[slash == parent.data ? 1 : 0] = 0;
    Open(parent.data);
}

void QZMDir::GoRoot() { Open("/"); }

void QZMDir::GoCWD() {
    char cwd[kPathMax];
    if (!getcwd(cwd, sizeof cwd)) return;
    path = cwd;
    GetContent();
}

bool QZMDir::IsEmpty() const { return count == 2 && subdirs == 2; }

void QZMDir::Clear() {
    for (uint32_t i = 0; i < count; i++) delete[] items[i].name;
    delete[] items;
    items = nullptr;
    count = subdirs = 0;
}

bool QZMDir::GetContent() {
    if (!path.length) return false;
    DIR* handle = opendir(path.data);
    if (!handle) return false;

    Clear();
    uint32_t counted = 0, dirs = 0;
    while (struct dirent* entry = readdir(handle)) {
        struct stat st;
        if (stat(entry->d_name, &st) != 0) {
            QZM::LOG("QZMDir::GetContent: stat=-1 on %s\n", entry->d_name);
            continue;
        }
        counted++;
        if (S_ISDIR(st.st_mode)) dirs++;
    }

    items = new (std::nothrow) QZMDirItem[counted ? counted : 1];
    if (!items) {
        closedir(handle);
        return false;
    }
    subdirs = dirs;
    rewinddir(handle);
    uint32_t filled = 0;
    while (filled < counted) {
        struct dirent* entry = readdir(handle);
        if (!entry) break;
        QZMDirItem& item = items[filled];
        if (!Examine(entry->d_name, item)) continue;
        item.name = StringCopy(entry->d_name);
        if (!item.name) continue;
        item.index = int32_t(filled++);
    }
    closedir(handle);
    count = filled;
    if (filled < counted) QZM::LOG("QZMDir: Checksum error!\n");
    if (sortFlags) Sort(sortFlags);
    return true;
}
