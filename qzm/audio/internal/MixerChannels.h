#pragma once
// The mixer's channel table and its callbacks. One mixer per process, so these are plain
// globals; g_mutex guards all of them.
#include <SDL.h>
#include <cstdint>

class QZMSound;
class QZMMusic;

struct MixerChannel {
    QZMSound* sound; ///< not owned; null when free or playing a music
    QZMMusic* music; ///< not owned; null when free or playing a sound
    uint8_t* pos;    ///< next byte to mix
    uint32_t left;   ///< bytes from pos to the end of the data
    uint8_t volume;  ///< 0..128
    uint8_t lvol;    ///< effective left volume
    uint8_t rvol;    ///< effective right volume
    uint8_t loops;   ///< plays left; 255 forever
    uint8_t state;   ///< 0 free, 1 playing, 2 paused
    int8_t pan;      ///< -100..100, or 127 for none
};

extern MixerChannel* g_channel;
extern unsigned g_nbchannels;
extern unsigned g_nbactive; ///< busy channels (over-counted by a take-over)
extern unsigned g_next;     ///< lowest channel that may be free
extern unsigned g_first;    ///< the callback scans g_first..g_last; empty when g_last < g_first
extern unsigned g_last;
extern SDL_mutex* g_mutex;
extern int32_t MIN_AUDIOVAL; ///< clip bounds of the obtained format
extern int32_t MAX_AUDIOVAL;
extern uint8_t g_silence;

// SDL audio callbacks, one per device format.
void MixerFuncU8(void* userdata, unsigned char* stream, int len);
void MixerFuncS8(void* userdata, unsigned char* stream, int len);
void MixerFuncS16LSB(void* userdata, unsigned char* stream, int len);
void MixerFuncU16LSB(void* userdata, unsigned char* stream, int len);
void MixerFuncS16MSB(void* userdata, unsigned char* stream, int len);
void MixerFuncU16MSB(void* userdata, unsigned char* stream, int len);
