#pragma once
#include <cstdint>
#include <qzm/io/ResFile.h>

/// Root of every resource that loads from a stream with a format code (0: decided from the data).
class QZMResource {
public:
    QZMResource() = default;
    virtual ~QZMResource();
    /// Bytes held by the resource.
    virtual uint32_t MemoryUsed() const = 0;
    /// False for a stream whose state is not ST_OK.
    virtual bool Load(QZMResFile& file, int format) = 0;
    virtual bool Save(QZMResFile& file, int format) = 0;
    /// Loads from a disk file opened read-only.
    virtual bool LoadName(const char* name, int format);
    /// Saves to a disk file opened read/write and truncated.
    virtual bool SaveName(const char* name, int format);
};
