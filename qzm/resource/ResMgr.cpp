#include <qzm/resource/ResMgr.h>

#include <algorithm>
#include <cstring>
#include <new>

#include <qzm/core/Log.h>
#include <qzm/core/String.h>
#include <qzm/resource/internal/Loaders.h>

namespace {

const uint32_t kInitialAlloc = 4;
const unsigned kNoType = 0xFFFFFFFF;

bool IsBlank(const char* name) {
    return !name || !*name;
}

} // namespace

QZMResMgr::QZMResMgr(const QZMResFinder& finder)
    : count(0), alloc(kInitialAlloc), entries(new (std::nothrow) ResEntry[kInitialAlloc]()),
      finder(finder) {
    if (!entries) alloc = 0;
    try {
        loaders.assign(QZM::internal::builtInLoaders,
                       QZM::internal::builtInLoaders + QZM::internal::builtInLoaderCount);
    } catch (const std::bad_alloc&) {
        // Out of memory: without its table the manager just loads nothing.
    }
}

QZMResMgr::~QZMResMgr() {
    for (uint32_t i = 0; i < count; ++i) {
        delete[] entries[i].name;
        delete entries[i].resource;
    }
    delete[] entries;
}

QZMResource* QZMResMgr::Load(unsigned int type, const char* name, int format, bool share) {
    if (IsBlank(name) || type >= loaders.size()) return nullptr;
    unsigned int index = 0;
    if (FindRes(name, index)) return AddReference(index, type);
    QZMResource* resource = LoadFile(type, name, format);
    if (!resource || !share) return resource;
    // A loader may use this manager itself, so the insertion point found above may be stale.
    if (FindRes(name, index)) {
        delete resource;
        return AddReference(index, type);
    }
    if (PrivateAdd(index, type, name, resource)) return resource;
    delete resource;
    return nullptr;
}

QZMResource* QZMResMgr::Get(const char* name) {
    unsigned int index = 0;
    if (!FindRes(name, index)) return nullptr;
    ++entries[index].refCount;
    return entries[index].resource;
}

bool QZMResMgr::Add(unsigned int type, const char* name, QZMResource* resource) {
    unsigned int index = 0;
    if (IsBlank(name) || FindRes(name, index)) return false;
    return PrivateAdd(index, type, name, resource);
}

bool QZMResMgr::Reload(const char* name) {
    unsigned int index = 0;
    if (count == 0 || !FindRes(name, index)) return false;
    return ReloadEntry(entries[index]);
}

bool QZMResMgr::ReloadType(unsigned int type) {
    if (type >= loaders.size()) return false;
    // Each entry overwrites the result: the last one tried decides.
    bool result = true;
    for (uint32_t i = 0; i < count; ++i) {
        if (entries[i].resource && entries[i].type == type) result = ReloadEntry(entries[i]);
    }
    return result;
}

bool QZMResMgr::Release(const char* name) {
    unsigned int index = 0;
    if (count == 0 || !FindRes(name, index)) return false;
    return DropReference(index);
}

bool QZMResMgr::Release(QZMResource* resource) {
    if (!resource) return false;
    for (uint32_t i = 0; i < count; ++i) {
        if (entries[i].resource == resource) return DropReference(i);
    }
    return false;
}

unsigned int QZMResMgr::RegisterLoader(Loader loader) {
    if (!loader) return kNoType;
    try {
        loaders.push_back(loader);
    } catch (const std::bad_alloc&) {
        return kNoType;
    }
    return static_cast<unsigned int>(loaders.size() - 1);
}

bool QZMResMgr::ChangeLoader(unsigned int type, Loader loader) {
    if (type >= loaders.size() || !loader) return false;
    loaders[type] = loader;
    return true;
}

void QZMResMgr::PrintContent() const {
    QZM::LOG("Resource Manager : (%d entries, %d alloc)\n", static_cast<int>(count),
             static_cast<int>(alloc));
    for (uint32_t i = 0; i < count; ++i) {
        const ResEntry& entry = entries[i];
        QZM::LOG("- %3d [type %2d] %s (%d)\n", static_cast<int>(i), static_cast<int>(entry.type),
                 entry.name, static_cast<int>(entry.refCount));
    }
}

bool QZMResMgr::FindRes(const char* name, unsigned int& index) const {
    if (IsBlank(name)) return false;
    // 64-bit bounds: high starts at -1 for an empty table.
    int64_t low = 0;
    int64_t high = static_cast<int64_t>(count) - 1;
    while (low <= high) {
        int64_t middle = (low + high) / 2;
        index = static_cast<unsigned int>(middle);
        int order = strcmp(name, entries[middle].name);
        if (order == 0) return true;
        if (order > 0) {
            low = middle + 1;
        } else {
            high = middle - 1;
        }
    }
    index = static_cast<unsigned int>(low);
    return false;
}

bool QZMResMgr::PrivateAdd(unsigned int index, unsigned int type, const char* name,
                           QZMResource* resource) {
    char* copy = QZMString::StringCopy(name);
    if (!copy) return false;
    if (count >= alloc && !Grow()) {
        delete[] copy;
        return false;
    }
    index = std::min(index, count);
    memmove(entries + index + 1, entries + index, (count - index) * sizeof(ResEntry));
    entries[index] = ResEntry{type, 1, copy, resource};
    ++count;
    return true;
}

void QZMResMgr::PrivateRemove(unsigned int index, bool destroy) {
    ResEntry removed = entries[index];
    --count;
    memmove(entries + index, entries + index + 1, (count - index) * sizeof(ResEntry));
    entries[count] = ResEntry{};
    // Destroyed only once the table is consistent again, in case its destructor calls back.
    delete[] removed.name;
    if (destroy) delete removed.resource;
}

bool QZMResMgr::Grow() {
    uint32_t bigger = alloc ? alloc * 2 : kInitialAlloc;
    if (bigger <= alloc) return false;
    ResEntry* grown = new (std::nothrow) ResEntry[bigger]();
    if (!grown) return false;
    std::copy(entries, entries + count, grown);
    delete[] entries;
    entries = grown;
    alloc = bigger;
    return true;
}

QZMResource* QZMResMgr::AddReference(unsigned int index, unsigned int type) {
    ResEntry& entry = entries[index];
    if (entry.type != type) return nullptr;
    ++entry.refCount;
    return entry.resource;
}

QZMResource* QZMResMgr::LoadFile(unsigned int type, const char* name, int format) {
    QZMResFile* file = finder.FindRes(name);
    if (!file) return nullptr;
    bool keepFile = false;
    QZMResource* resource = loaders[type](file, name, format, keepFile);
    if (!resource) {
        QZM::WARN("ResMgr: can not load %s (type %d)\n", name, static_cast<int>(type));
        delete file;
        return nullptr;
    }
    if (!keepFile) delete file;
    return resource;
}

// Uses the object's own Load, not the loader table, so holders' pointers stay valid.
bool QZMResMgr::ReloadEntry(const ResEntry& entry) const {
    QZMResource* resource = entry.resource;
    if (!resource) return false;
    QZMResFile* file = finder.FindRes(entry.name);
    if (!file) return false;
    bool loaded = resource->Load(*file, 0);
    delete file;
    return loaded;
}

bool QZMResMgr::DropReference(unsigned int index) {
    if (--entries[index].refCount == 0) PrivateRemove(index, true);
    return true;
}
