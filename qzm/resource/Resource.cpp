#include <qzm/resource/Resource.h>

#include <qzm/io/File.h>

QZMResource::~QZMResource() = default;

// Load and Save judge the stream's state themselves, so a failed open is not tested here.
bool QZMResource::LoadName(const char* name, int format) {
    QZMFile file(name, QZMResFile::READ);
    return Load(file, format);
}

bool QZMResource::SaveName(const char* name, int format) {
    QZMFile file(name, QZMResFile::READWRITE | QZMResFile::TRUNC);
    return Save(file, format);
}
