#pragma once
#include <cstdint>
#include <vector>
#include <qzm/resource/ResFinder.h>
#include <qzm/resource/Resource.h>

/// Loads resources by name and type through a finder and shares them by reference count.
class QZMResMgr {
public:
    /// Makes a new resource from a stream positioned at its start, or null; sets keepFile when
    /// the resource keeps reading the stream and so takes it over.
    using Loader = QZMResource* (*)(QZMResFile* file, const char* name, int format,
                                    bool& keepFile);

    /// Built-in type numbers.
    enum {
        TYPE_IMAGE = 0,
        TYPE_PAL = 1,
        TYPE_FONT = 2,
        TYPE_TEXT = 3,
        TYPE_SOUND = 4,
        TYPE_MUSIC = 5,
        TYPE_3DFONT = 6
    };

    /// One shared resource.
    struct ResEntry {
        uint32_t type;
        uint32_t refCount;
        char* name; ///< owned copy
        QZMResource* resource; ///< owned
    };

    uint32_t count;
    uint32_t alloc;
    ResEntry* entries; ///< sorted by name (strcmp order); the unused tail is zero-filled
    std::vector<Loader> loaders; ///< index = type number
    const QZMResFinder& finder; ///< not owned, must outlive the manager

    explicit QZMResMgr(const QZMResFinder& finder);
    ~QZMResMgr();
    QZMResMgr(const QZMResMgr&) = delete;
    QZMResMgr& operator=(const QZMResMgr&) = delete;

    /// A registered name of the same type comes back with one more reference (whatever share
    /// says); otherwise the file is loaded, and registered when share is set. Null on failure or
    /// when the name is registered with another type. An unshared result is the caller's.
    QZMResource* Load(unsigned int type, const char* name, int format, bool share);
    /// The registered resource with one more reference, or null.
    QZMResource* Get(const char* name);
    /// Takes ownership with one reference; false (ownership not taken) for an empty or known name.
    bool Add(unsigned int type, const char* name, QZMResource* resource);
    /// Loads the registered object again from a fresh stream with format 0; its identity stays.
    bool Reload(const char* name);
    /// Reloads every entry of the type; the result is that of the last entry tried.
    bool ReloadType(unsigned int type);
    /// Drops one reference, destroying the resource at 0; false for an unknown name.
    bool Release(const char* name);
    bool Release(QZMResource* resource);
    /// Returns the new type number, or 0xFFFFFFFF for a null loader.
    unsigned int RegisterLoader(Loader loader);
    /// False for an unknown type or a null loader.
    bool ChangeLoader(unsigned int type, Loader loader);
    void PrintContent() const;

private:
    /// Binary search; when not found, index receives the insertion position.
    bool FindRes(const char* name, unsigned int& index) const;
    /// False when memory runs out; nothing is registered then.
    bool PrivateAdd(unsigned int index, unsigned int type, const char* name,
                    QZMResource* resource);
    void PrivateRemove(unsigned int index, bool destroy);
    bool Grow();
    QZMResource* AddReference(unsigned int index, unsigned int type);
    QZMResource* LoadFile(unsigned int type, const char* name, int format);
    bool ReloadEntry(const ResEntry& entry) const;
    bool DropReference(unsigned int index);
};
