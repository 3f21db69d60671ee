#include <qzm/resource/ResFinder.h>

#include <cstring>
#include <new>

#include <qzm/archive/Archive.h>
#include <qzm/archive/Dir.h>
#include <qzm/core/Log.h>
#include <qzm/io/FileUtils.h>

namespace {

bool IsBlank(const char* name) {
    return !name || !*name;
}

} // namespace

QZMResFinder::~QZMResFinder() {
    for (QZMFileProvider* source : sources) delete source;
}

int QZMResFinder::FindSource(const char* name) const {
    if (IsBlank(name)) return -1;
    for (size_t i = 0; i < sources.size(); ++i) {
        const char* sourceName = sources[i] ? sources[i]->Name() : nullptr;
        if (sourceName && strcmp(sourceName, name) == 0) return static_cast<int>(i);
    }
    return -1;
}

bool QZMResFinder::AddSource(const char* name, bool atFront) {
    if (IsBlank(name)) return false;
    if (FindSource(name) >= 0) return true;
    QZMFileProvider* source = OpenSource(name);
    if (!source) return false;
    try {
        sources.insert(atFront ? sources.begin() : sources.end(), source);
    } catch (const std::bad_alloc&) {
        delete source;
        return false;
    }
    return true;
}

bool QZMResFinder::RemoveSource(const char* name) {
    int index = FindSource(name);
    if (index >= 0) sources.erase(sources.begin() + index);
    return false;
}

QZMResFile* QZMResFinder::FindRes(const char* name) const {
    if (IsBlank(name)) return nullptr;
    for (const QZMFileProvider* source : sources) {
        if (!source) continue;
        QZMResFile* file = source->OpenFile(name);
        if (file) return file;
    }
    return nullptr;
}

void QZMResFinder::PrintInfo() const {
    QZM::LOG("Resource Finder sources (%d):\n", static_cast<int>(sources.size()));
    if (sources.empty()) QZM::LOG("none.\n");
    for (const QZMFileProvider* source : sources) {
        if (source) QZM::LOG("- %s\n", source->Name());
    }
}

QZMFileProvider* QZMResFinder::OpenSource(const char* name) {
    if (!QZMFileUtils::FileExist(name)) return nullptr;
    if (!QZMFileUtils::IsDir(name)) return QZMArchive::OpenArchive(name);
    QZMDir* dir = new (std::nothrow) QZMDir(nullptr);
    if (dir && dir->Open(name)) return dir;
    delete dir;
    return nullptr;
}
