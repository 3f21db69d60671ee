#include <qzm/gl/TexMgr.h>

#include <cstring>
#include <memory>
#include <new>
#include <qzm/core/Log.h>
#include <qzm/core/String.h>
#include <qzm/gfx/Image.h>
#include <qzm/gfx/Pal.h>
#include <qzm/io/ResFile.h>
#include <qzm/resource/ResFinder.h>

namespace {

const unsigned kNewSlot = 0xFFFFFFFF;
const unsigned kNotFound = 0xFFFFFFFF;
const unsigned kMinCapacity = 4;
const unsigned kGrowth = 8;
const unsigned kNoFormat = 0;

// The smallest power of two not below n (1 for 0 and 1); 0 when it would not fit 32 bits.
uint32_t PowerOfTwo(uint32_t n) {
    uint64_t p = 1;
    while (p < n) p <<= 1;
    return p > UINT32_MAX ? 0 : uint32_t(p);
}

// The texels handed to glTexImage2D: the image's own pixels or a buffer made here.
struct Texels {
    GLenum format = GL_RGB;
    const uint8_t* data = nullptr;
    std::unique_ptr<uint8_t[]> owned;

    uint8_t* Allocate(size_t bytes) {
        owned.reset(new (std::nothrow) uint8_t[bytes]);
        data = owned.get();
        return owned.get();
    }
};

bool FromPalette(const QZMImage& image, size_t count, Texels& out) {
    uint8_t* dst = out.Allocate(count * 3);
    if (!dst) return false;
    const QZMPal* pal = image.palette;
    const uint32_t colours = pal && pal->entries ? pal->size : 0;
    for (size_t i = 0; i < count; i++, dst += 3) {
        const uint8_t index = image.pixels[i];
        // An index past the palette is black.
        const QZMRGBA c = index < colours ? pal->entries[index] : QZMRGBA{0, 0, 0, 0};
        dst[0] = c.r;
        dst[1] = c.g;
        dst[2] = c.b;
    }
    return true;
}

// Blue, green, red (, transparency) to red, green, blue (, alpha: the transparency's
// complement), Bytes bytes a pixel; dst may be src.
template <unsigned Bytes> void FromBGR(const uint8_t* src, uint8_t* dst, size_t count) {
    for (size_t i = 0; i < count; i++, src += Bytes, dst += Bytes) {
        const uint8_t blue = src[0];
        dst[1] = src[1];
        dst[0] = src[2];
        dst[2] = blue;
        if (Bytes == 4) dst[3] = uint8_t(255 - src[3]);
    }
}

template <unsigned Bytes> bool Reordered(QZMImage& image, size_t count, bool inplace, Texels& out) {
    uint8_t* dst = inplace ? image.pixels : out.Allocate(count * Bytes);
    if (!dst) return false;
    FromBGR<Bytes>(image.pixels, dst, count);
    out.data = dst;
    return true;
}

bool ByDepth(QZMImage& image, size_t count, bool inplace, Texels& out) {
    switch (image.BytesPerPixel()) {
    case 1: return FromPalette(image, count, out);
    case 2: QZM::ERR("TexMgr: image format = 16 bits, not supported.\n"); return false;
    case 3: return Reordered<3>(image, count, inplace, out);
    case 4: out.format = GL_RGBA; return Reordered<4>(image, count, inplace, out);
    default: QZM::ERR("TexMgr: image format = %d bits, not supported.\n", image.bpp); return false;
    }
}

bool LuminanceAlpha(const QZMImage& image, size_t count, Texels& out) {
    out.format = GL_LUMINANCE_ALPHA;
    uint8_t* dst = out.Allocate(count * 2);
    if (!dst) return false;
    for (size_t i = 0; i < count; i++, dst += 2) dst[0] = dst[1] = image.pixels[i];
    return true;
}

// The layout for the requested format, or false after its message.
bool ChooseTexels(QZMImage& image, unsigned format, bool inplace, Texels& out) {
    const size_t count = size_t(image.width) * image.height;
    if (format == kNoFormat || format == GL_RGB || format == GL_RGBA)
        return ByDepth(image, count, inplace, out);
    if (format < GL_ALPHA || format > GL_LUMINANCE_ALPHA) {
        QZM::ERR("TexMgr: format not supported (%d)\n", int(format));
        return false;
    }
    const bool oneByte = image.BytesPerPixel() == 1;
    if (format == GL_LUMINANCE_ALPHA) {
        if (oneByte) return LuminanceAlpha(image, count, out);
        QZM::WARN("TexMgr: warning GL_LUMINANCE_ALPHA requested for a %d bits image.\n", image.bpp);
        return false;
    }
    if (!oneByte) {
        QZM::WARN("TexMgr: warning GL_LUMINANCE or GL_ALPHA requested for a %d bits image.\n",
                  image.bpp);
        return false;
    }
    out.format = format;
    out.data = image.pixels;
    return true;
}

// Pads the image to powers of two; false when it cannot be.
bool PadToPowersOfTwo(QZMImage& image) {
    const uint32_t w = PowerOfTwo(image.width);
    const uint32_t h = PowerOfTwo(image.height);
    if (!w || !h) return false;
    if (w != image.width || h != image.height) {
        QZM::WARN("TexMgr: image resized (%d x %d -> %d x %d)\n", int(w), int(h), int(image.width),
                  int(image.height));
        if (!image.Resize(w, h)) return false;
    }
    return image.pixels != nullptr;
}

GLint WrapMode(bool repeat) { return repeat ? GL_REPEAT : GL_CLAMP; }

} // namespace

Q3DTexMgr::Q3DTexMgr(const QZMResFinder& resFinder, unsigned int size)
    : table(nullptr), capacity(0), next(0), finder(resFinder) {
    Realloc(size < kMinCapacity ? kMinCapacity : size);
}

Q3DTexMgr::~Q3DTexMgr() {
    unsigned deleted = 0;
    for (unsigned i = 0; i < capacity; i++)
        if (table[i].name) deleted += FreeTextureP(i, true);
    QZM::DBG("~TexMgr: %d textures deleted.\n", deleted);
    delete[] table;
}

void Q3DTexMgr::Realloc(unsigned int size) {
    if (size <= capacity) return;
    TexEntry* grown = new (std::nothrow) TexEntry[size]();
    if (!grown) return;
    if (table) std::memcpy(grown, table, capacity * sizeof(TexEntry));
    delete[] table;
    table = grown;
    capacity = size;
}

unsigned int Q3DTexMgr::FindTexture(const char* name) {
    if (!name) return kNotFound;
    for (unsigned i = 0; i < capacity; i++)
        if (table[i].name && std::strcmp(table[i].name, name) == 0) return i;
    return kNotFound;
}

Q3DTexture* Q3DTexMgr::GetTexture(const char* name) {
    const unsigned index = FindTexture(name);
    return index == kNotFound ? nullptr : table[index].texture;
}

Q3DTexture* Q3DTexMgr::GetTexture(unsigned int glid) {
    for (unsigned i = 0; i < capacity; i++)
        if (table[i].texture && table[i].texture->id == glid) return table[i].texture;
    return nullptr;
}

const char* Q3DTexMgr::GetTextureName(unsigned int glid) {
    for (unsigned i = 0; i < capacity; i++)
        if (table[i].texture && table[i].texture->id == glid) return table[i].name;
    return nullptr;
}

QZMImage* Q3DTexMgr::PrivateLoadImage(const char* name) const {
    std::unique_ptr<QZMImage> image(new (std::nothrow) QZMImage(0, 0, 8));
    std::unique_ptr<QZMResFile> file(finder.FindRes(name));
    if (!image || !file || !image->Load(*file, 0)) return nullptr;
    return image.release();
}

Q3DTexture* Q3DTexMgr::LoadFromFile(const char* name, int filter, bool repeat,
                                    unsigned int format) {
    if (!name) return nullptr;
    const unsigned known = FindTexture(name);
    if (known != kNotFound) {
        table[known].refcount++;
        return table[known].texture;
    }
    std::unique_ptr<QZMImage> image(PrivateLoadImage(name));
    if (!image) return nullptr;
    const int index = Add(name, image.get(), filter, repeat, true, kNewSlot, format);
    if (index < 0) return nullptr;
    table[index].source = FROM_FILE;
    return table[index].texture;
}

Q3DTexture* Q3DTexMgr::LoadFromImage(const char* name, const QZMImage* image, int filter,
                                     bool repeat, unsigned int format) {
    const unsigned known = FindTexture(name);
    if (known != kNotFound) {
        table[known].refcount++;
        return table[known].texture;
    }
    if (!image || !name) return nullptr;
    // Not converted in place: only the padding touches the caller's image.
    const int index =
        Add(name, const_cast<QZMImage*>(image), filter, repeat, false, kNewSlot, format);
    if (index < 0) return nullptr;
    table[index].source = FROM_IMAGE;
    return table[index].texture;
}

int Q3DTexMgr::Add(const char* name, QZMImage* image, int filter, bool repeat, bool inplace,
                   unsigned int slot, unsigned int format) {
    const bool refill = slot != kNewSlot;
    if (refill && (slot >= capacity || !table[slot].texture)) {
        QZM::ERR("TexMgr: invalid texture index %d\n", int(slot));
        return -1;
    }
    if (!name || !image || !PadToPowersOfTwo(*image)) return -1;
    Texels texels;
    if (!ChooseTexels(*image, format, inplace, texels) || !texels.data) return -1;

    GLuint id = 0;
    glGenTextures(1, &id);
    glBindTexture(GL_TEXTURE_2D, id);
    glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, filter);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, filter);
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, WrapMode(repeat));
    glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, WrapMode(repeat));
    glTexImage2D(GL_TEXTURE_2D, 0, GLint(texels.format), GLsizei(image->width),
                 GLsizei(image->height), 0, texels.format, GL_UNSIGNED_BYTE, texels.data);
    texels.owned.reset();
    const GLenum error = glGetError();
    if (error != GL_NO_ERROR) {
        QZM::ERR("TexMgr GL error %d\n", int(error));
        return -1;
    }
    QZM::DBG(" -texture[%d] %s (%d x %d x %d, id %d)\n", int(next), name, int(image->width),
             int(image->height), texels.format == GL_RGB ? 24 : 32, int(id));

    unsigned index = slot;
    if (!refill) {
        index = PrivateNewEntry(name, FROM_ADD);
        if (index == kNotFound) {
            glDeleteTextures(1, &id);
            return -1;
        }
        PrivateAdvanceNext();
    }
    const uint16_t width = uint16_t(image->width);
    const uint16_t height = uint16_t(image->height);
    *table[index].texture = Q3DTexture{id, width, height, texels.format, filter,
                                       uint32_t(WrapMode(repeat))};
    return int(index);
}

unsigned int Q3DTexMgr::PrivateNewEntry(const char* name, uint32_t source) {
    if (next >= capacity) Realloc(capacity + kGrowth);
    if (next >= capacity) return kNotFound;
    char* copy = QZMString::StringCopy(name);
    Q3DTexture* record = new (std::nothrow) Q3DTexture();
    if (!copy || !record) {
        delete[] copy;
        delete record;
        return kNotFound;
    }
    table[next] = TexEntry{1, copy, record, source};
    return next;
}

void Q3DTexMgr::PrivateAdvanceNext() {
    while (next < capacity && table[next].name) next++;
}

Q3DTexture* Q3DTexMgr::AddTexture(const char* name, unsigned int glid) {
    const unsigned known = FindTexture(name);
    if (known != kNotFound) return table[known].texture;
    if (!name) return nullptr;
    if (glIsTexture(glid) != GL_TRUE) {
        QZM::ERR("TexMgr: invalid texture index %d\n", int(glid));
        return nullptr;
    }
    const unsigned index = PrivateNewEntry(name, FROM_GL);
    if (index == kNotFound) return nullptr;
    GLint filter = 0, wrap = 0, width = 0, height = 0, format = 0;
    glBindTexture(GL_TEXTURE_2D, glid);
    glGetTexParameteriv(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, &filter);
    glGetTexParameteriv(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, &wrap);
    glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_WIDTH, &width);
    glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_HEIGHT, &height);
    glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_INTERNAL_FORMAT, &format);
    Q3DTexture* record = table[index].texture;
    *record =
        Q3DTexture{0, uint16_t(width), uint16_t(height), uint32_t(format), filter, uint32_t(wrap)};
    QZM::DBG("TexMgr::AddTexture parameters : %s, %d x %d, format: %d, filter: %d, repeat: %d\n",
             name, width, height, format, filter, wrap);
    PrivateAdvanceNext();
    return record;
}

bool Q3DTexMgr::FreeTextureP(unsigned int index, bool force) {
    if (index >= capacity || !table[index].name) return false;
    TexEntry& entry = table[index];
    if (!force && --entry.refcount > 0) return true;
    delete[] entry.name;
    if (glIsTexture(entry.texture->id)) glDeleteTextures(1, &entry.texture->id);
    if (next > index) next = index;
    delete entry.texture;
    entry = TexEntry{};
    return true;
}

bool Q3DTexMgr::FreeTexture(const char* name) {
    const unsigned index = FindTexture(name);
    return index != kNotFound && FreeTextureP(index, false);
}

bool Q3DTexMgr::FreeTexture(Q3DTexture* texture) {
    if (!texture) return false;
    for (unsigned i = 0; i < capacity; i++)
        if (table[i].texture == texture) return FreeTextureP(i, false);
    return false;
}

bool Q3DTexMgr::FreeTexture(unsigned int glid) {
    if (glid == 0) return false;
    for (unsigned i = 0; i < capacity; i++)
        if (table[i].texture && table[i].texture->id == glid) return FreeTextureP(i, false);
    return false;
}

void Q3DTexMgr::ReloadTextures() {
    unsigned lost = 0;
    for (unsigned i = 0; i < capacity; i++) {
        TexEntry& entry = table[i];
        if (!entry.texture || glIsTexture(entry.texture->id)) continue;
        lost++;
        if (entry.source == FROM_FILE)
            entry.texture->id = 0;
        else
            FreeTextureP(i, true);
    }
    if (lost == 0) return;
    for (unsigned i = 0; i < capacity; i++)
        if (table[i].texture && table[i].texture->id == 0) PrivateReload(i);
}

void Q3DTexMgr::PrivateReload(unsigned int index) {
    TexEntry& entry = table[index];
    if (entry.source != FROM_FILE) {
        QZM::WARN("Reload texture: can not reload %s\n", entry.name);
        FreeTextureP(index, true);
        return;
    }
    std::unique_ptr<QZMImage> image(PrivateLoadImage(entry.name));
    const Q3DTexture& record = *entry.texture;
    if (!image || Add(entry.name, image.get(), record.filter, record.wrap == GL_REPEAT, true, index,
                      record.format) < 0) {
        QZM::WARN("Reload texture failed %s\n", entry.name);
        FreeTextureP(index, true);
    }
}
