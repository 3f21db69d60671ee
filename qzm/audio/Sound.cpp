#include <qzm/audio/Sound.h>

QZMSound::QZMSound() : format(0), freq(0), channels(0), data(nullptr), size(0) {}

QZMSound::QZMSound(const char* name) : QZMSound() { LoadName(name, 0); }

QZMSound::~QZMSound() { delete[] data; }

uint32_t QZMSound::MemoryUsed() const { return size + sizeof(QZMSound); }

bool QZMSound::Load(QZMResFile&, int) { return false; }

bool QZMSound::Save(QZMResFile&, int) { return false; }

void QZMSound::Clear() {
    delete[] data;
    data = nullptr;
    size = 0;
    format = freq = channels = 0;
}
