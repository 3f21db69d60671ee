#pragma once
#include <cstdint>

class QZMResFile;
class QZMText;

/// Static helpers over the POSIX file system; allocated results are new[] arrays the caller frees.
class QZMFileUtils {
public:
    /// Filter flags of GetFileList.
    enum {
        LIST_NO_DIRS = 2,
        LIST_NO_FILES = 4,
        LIST_NO_CASE = 8,
        LIST_NO_DOTS = 16,
        LIST_NO_HIDDEN = 32,
        LIST_NO_LINKS = 64
    };

    /// True for an existing file or directory.
    static bool FileExist(const char* path);
    static bool IsDir(const char* path);
    /// True when the name begins with ".".
    static bool IsHidden(const char* name);
    /// Size in bytes, or 0xFFFFFFFF when it cannot be found.
    static unsigned FileSize(const char* path);
    static bool FileRemove(const char* path);
    /// False when `to` exists and overwrite is false.
    static bool FileRename(const char* from, const char* to, bool overwrite);
    /// True exactly when the whole file was copied; false when `to` exists and overwrite is false.
    static bool FileCopy(const char* from, const char* to, bool overwrite);
    /// Copies in chunks of 4000 bytes; returns the bytes written (compare with size to detect failure).
    static unsigned CopyData(QZMResFile* from, QZMResFile* to, unsigned size);
    /// Names in `dir` matching the shell pattern, in directory order, filtered by LIST_ flags;
    /// returns their count (0 with list null on failure). Changes the current directory meanwhile.
    static unsigned GetFileList(char**& list, const char* dir, const char* pattern, unsigned flags);
    /// Frees each name and the array; sets list to null.
    static void FreeFileList(char**& list, unsigned count);

    /// True exactly for "/".
    static bool IsRoot(const char* path);
    static bool IsAbsolute(const char* path);
    static bool IsRelative(const char* path);
    static bool GetCWD(char* buf, unsigned size);
    /// New[] copy of the current directory.
    static char* GetCWD();
    static bool SetCWD(const char* path);
    /// New[] copy of the running executable's directory, or null.
    static char* GetExeDir();
    /// The user's home directory ("" when HOME is unset); a static buffer, not to be freed.
    static const char* GetUserDocDir();
    /// Same as GetUserDocDir().
    static const char* GetUserAppDir();
    /// New text of the mounted iso9660 file systems' directories, or null when there is none.
    static QZMText* GetCDROMDirs();
    /// mkdir with mode 0700.
    static bool DirCreate(const char* path);
    /// Pointer into path after its last "/" ("" when path ends with "/"); null for null.
    static const char* FileName(const char* path);
    /// Pointer into name after its last "." not at position 0, or null when there is none.
    static const char* FileExtension(const char* name);
    /// Always null on this platform.
    static char** DrivesList();
    /// Always 0 on this platform.
    static int DriveType(const char* path);
};

/// New[] copy of s; null for a null or empty s.
char* StringCopy(const char* s);
