#pragma once
#ifndef OV_EXCLUDE_STATIC_CALLBACKS
#define OV_EXCLUDE_STATIC_CALLBACKS
#endif
#include <vorbis/vorbisfile.h>

#include <qzm/io/ResFile.h>

// Ogg Vorbis through libvorbisfile, reading the library's own streams.
namespace QZM::internal {

// The decoder's stream callbacks; the data source is the QZMResFile, which stays its owner's.
size_t ogg_read(void* ptr, size_t size, size_t nmemb, void* src);
int ogg_seek(void* src, ogg_int64_t offset, int whence);
int ogg_close(void* src);
long ogg_tell(void* src);

/// Opens vf on the stream, logging why not; the caller ov_clear's it after a success.
bool OpenOgg(QZMResFile& f, OggVorbis_File& vf);

/// What Ogg Vorbis decodes into: the open mixer's format, else signed 16-bit little-endian.
int OggOutputFormat();

/// ov_read's layout arguments for a format code.
struct OggSampleLayout {
    int bigEndian;
    int word;
    int isSigned;
};
OggSampleLayout OggLayoutOf(int format);

} // namespace QZM::internal
