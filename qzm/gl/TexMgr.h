#pragma once
#include <GL/gl.h>
#include <cstdint>

class QZMImage;
class QZMResFinder;

/// An OpenGL texture as the texture manager made or registered it; owned by the manager.
struct Q3DTexture {
    uint32_t id;     ///< the OpenGL texture name
    uint16_t width;  ///< padded to a power of two
    uint16_t height; ///< padded to a power of two
    uint32_t format; ///< GL_ALPHA, GL_RGB, GL_RGBA, GL_LUMINANCE or GL_LUMINANCE_ALPHA
    int32_t filter;  ///< minification and magnification filter
    uint32_t wrap;   ///< GL_REPEAT or GL_CLAMP, for S and T
};

/// The application's OpenGL textures by name: images found through a resource finder or
/// handed in become 2D textures (sizes padded to powers of two, pixels converted to the layouts
/// OpenGL takes), shared with reference counts, freed, and re-created from their files after
/// the GL context was lost.
class Q3DTexMgr {
public:
    /// How a texture was made, which decides whether ReloadTextures can make it again.
    enum Source : uint32_t { FROM_FILE = 0, FROM_IMAGE = 2, FROM_GL = 3, FROM_ADD = 4 };

    struct TexEntry {
        uint32_t refcount;
        char* name;          ///< owned; null marks a free entry
        Q3DTexture* texture; ///< owned
        uint32_t source;     ///< a Source
    };

    TexEntry* table;            ///< capacity entries
    uint32_t capacity;          ///< at least 4; grows by 8 when full
    uint32_t next;              ///< the lowest index that may be free
    const QZMResFinder& finder; ///< not owned, must outlive the manager

    Q3DTexMgr(const QZMResFinder& finder, unsigned int capacity);
    Q3DTexMgr(const Q3DTexMgr&) = delete;
    Q3DTexMgr& operator=(const Q3DTexMgr&) = delete;
    ~Q3DTexMgr();

    /// The texture of that name with one more reference, else the image file found by name.
    Q3DTexture* LoadFromFile(const char* name, int filter, bool repeat, unsigned int format = 0);
    /// The texture of that name with one more reference, else one made from image, which is
    /// only resized when its size is not a power of two.
    Q3DTexture* LoadFromImage(const char* name, const QZMImage* image, int filter, bool repeat,
                              unsigned int format = 0);
    /// Makes the GL texture; the table index or -1. slot 0xFFFFFFFF: a new entry, else that
    /// entry is re-filled. format 0: by the image's depth. inplace converts the image's own
    /// pixels (red and blue swapped, transparency complemented) instead of a copy.
    int Add(const char* name, QZMImage* image, int filter, bool repeat, bool inplace,
            unsigned int slot, unsigned int format);
    /// Registers a texture made elsewhere; a known name returns its record without a new
    /// reference. The record's id stays 0.
    Q3DTexture* AddTexture(const char* name, unsigned int glid);

    Q3DTexture* GetTexture(const char* name);
    Q3DTexture* GetTexture(unsigned int glid);
    const char* GetTextureName(unsigned int glid);
    /// The index of the entry of that name, or 0xFFFFFFFF.
    unsigned int FindTexture(const char* name);

    /// Drops one reference, or all with force; the last one deletes the texture.
    bool FreeTextureP(unsigned int index, bool force);
    bool FreeTexture(const char* name);
    bool FreeTexture(Q3DTexture* texture);
    bool FreeTexture(unsigned int glid);

    /// After the GL context was re-created: textures from files are made again in their own
    /// entries and records, every other lost texture is dropped.
    void ReloadTextures();
    /// Grows the table to capacity entries; never shrinks it.
    void Realloc(unsigned int capacity);

private:
    unsigned int PrivateNewEntry(const char* name, uint32_t source);
    void PrivateAdvanceNext();
    QZMImage* PrivateLoadImage(const char* name) const;
    void PrivateReload(unsigned int index);
};
