#pragma once
#include <cstdint>
#include <qzm/gfx/RGBA.h>
#include <qzm/resource/Resource.h>

/// Colour table of up to 4096 entries, read and written in five file formats.
/// Format codes: 0 detect (save: native), 1 native "QZMP", 2 GIMP, 3 JASC, 4 raw RGB, 5 raw BGR.
class QZMPal : public QZMResource {
public:
    uint32_t size;    ///< number of entries, 0 to 4096
    QZMRGBA* entries; ///< owned, null when size is 0

    /// size uninitialised entries; the size is not clamped here.
    explicit QZMPal(unsigned size);
    /// Loads the named disk file; stays empty when it cannot be opened.
    QZMPal(const char* filename, int format);
    QZMPal(QZMResFile& f, int format);
    /// Copy of other's entries; empty for null.
    explicit QZMPal(const QZMPal* other);
    QZMPal(const QZMPal&) = delete;
    QZMPal& operator=(const QZMPal&) = delete;
    ~QZMPal() override;

    uint32_t MemoryUsed() const override;
    bool Load(QZMResFile& f, int format) override;
    /// True when the stream is still open afterwards.
    bool Save(QZMResFile& f, int format) override;

    /// Clamps n to 4096 with a note; keeps the first entries, added ones are uninitialised.
    void Resize(unsigned n);
    /// count triplets from index first, growing the palette as needed; alpha 0.
    void SetFromRGB(const unsigned char* rgb, unsigned count, unsigned first);
    /// count four-byte entries from index first; the caller keeps first + count <= 4096.
    void SetFromRGBA(const void* rgba, unsigned count, unsigned first);
    /// Grows to n (at most 256) when smaller, then grades the whole palette from black.
    void GenerateGreyScale(unsigned n);
    void ToGreyScale();
    /// Format code from the first bytes or the length; 0 when nothing matches.
    static int FindFormat(QZMResFile& f);
    void PrintInfo() const;

private:
    bool QZMLoad(QZMResFile& f);
    bool GIMPLoad(QZMResFile& f);
    bool JASCLoad(QZMResFile& f);
    /// format 4: red, green, blue; 5: blue, green, red.
    bool RGBLoad(QZMResFile& f, int format);
};
