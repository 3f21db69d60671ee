#include <qzm/data/Text.h>

#include <qzm/core/Log.h>
#include <qzm/core/String.h>
#include <qzm/io/File.h>
#include <qzm/io/internal/Bounds.h>

#include <cstring>
#include <new>

namespace {

const uint32_t TEXT_MAGIC = 0x544D5A51; // "QZMT" read as a little-endian word
const uint32_t WHOLE = 0xFFFFFFFF;

} // namespace

QZMText::QZMText(unsigned int size) : strings(nullptr), size(0) { ChangeSize(size); }

QZMText::QZMText(const char* fileName, int format) : strings(nullptr), size(0) {
    ChangeSize(1);
    QZMFile file(fileName, QZMResFile::READ);
    if (!Load(file, format)) ChangeSize(1);
}

QZMText::QZMText(QZMResFile& file, int format) : strings(nullptr), size(0) {
    ChangeSize(1);
    if (!Load(file, format)) ChangeSize(1);
}

QZMText::~QZMText() {
    for (uint32_t i = 0; i < size; i++) delete[] strings[i];
    delete[] strings;
}

unsigned int QZMText::Length() const {
    unsigned int present = 0;
    for (uint32_t i = 0; i < size; i++)
        if (strings[i]) present++;
    return present;
}

void QZMText::FreeSlot(uint32_t index) {
    delete[] strings[index];
    strings[index] = nullptr;
}

void QZMText::ChangeSize(unsigned int newSize) {
    if (newSize == 0) newSize = 1;
    char** grown = new (std::nothrow) char*[newSize];
    if (!grown) return;
    for (uint32_t i = newSize; i < size; i++) delete[] strings[i];
    uint32_t kept = size < newSize ? size : newSize;
    for (uint32_t i = 0; i < kept; i++) grown[i] = strings[i];
    for (uint32_t i = kept; i < newSize; i++) grown[i] = nullptr;
    delete[] strings;
    strings = grown;
    size = newSize;
}

void QZMText::SetString(unsigned int index, const char* text, unsigned int start,
                        unsigned int length) {
    if (index == WHOLE) return; // index + 1 slots cannot be counted in 32 bits
    if (index >= size) ChangeSize(index + 1);
    if (index >= size) return;
    FreeSlot(index);
    if (!text || length == 0) return;
    const char* from = text + start;
    uint32_t n = length == WHOLE ? static_cast<uint32_t>(strlen(from)) : length;
    char* copy = new (std::nothrow) char[static_cast<size_t>(n) + 1];
    if (!copy) return;
    // strncpy pads a length beyond the text with zero bytes, which is wanted here.
    strncpy(copy, from, n);
    copy[n] = 0;
    strings[index] = copy;
}

int QZMText::Append(const char* text, unsigned int start, unsigned int length) {
    if (!text || length == 0) return -1;
    uint32_t index = 0;
    while (index < size && strings[index]) index++;
    SetString(index, text, start, length);
    return index < size ? static_cast<int>(index) : -1;
}

void QZMText::Clear() {
    for (uint32_t i = 0; i < size; i++) FreeSlot(i);
}

uint32_t QZMText::MemoryUsed() const {
    uint32_t used = sizeof(*this) + sizeof(char*) * size;
    for (uint32_t i = 0; i < size; i++)
        if (strings[i]) used += static_cast<uint32_t>(strlen(strings[i]));
    return used;
}

bool QZMText::Load(QZMResFile& file, int format) {
    if (file.state != QZMResFile::ST_OK) return false;
    if (format == 0) {
        format = file.Read32() == TEXT_MAGIC ? 2 : 1;
        file.Seek(-4, 1);
    }
    if (format == 1) return LoadLines(file);
    if (format == 2) return LoadBinary(file);
    return false;
}

bool QZMText::LoadBinary(QZMResFile& file) {
    if (file.Read32() != TEXT_MAGIC) return false;
    uint32_t count = file.Read32();
    if (count == 0) {
        ChangeSize(1);
        return true;
    }
    // The densest record, an absent slot, is its 4-byte length alone.
    uint64_t slotBytes = uint64_t(count) * sizeof(char*);
    if (!QZM::internal::PlausibleAllocation(file, slotBytes, sizeof(char*) / 4)) return false;
    ChangeSize(count);
    if (size != count) return false;
    // Records past the end of the data read as absent, and a string cut short keeps the zeros
    // it was allocated with.
    for (uint32_t i = 0; i < count; i++) {
        FreeSlot(i);
        uint32_t stored = file.Read32();
        if (stored == 0) continue;
        if (!QZM::internal::PlausibleAllocation(file, stored - 1)) return false;
        char* text = new (std::nothrow) char[stored]();
        if (!text) return false;
        file.Read(text, stored - 1);
        strings[i] = text;
    }
    return true;
}

bool QZMText::LoadLines(QZMResFile& file) {
    QZMString line;
    uint32_t lines = 0;
    while (file.GetLine(line, WHOLE, '\n') != 0) lines++;
    if (lines == 0) {
        QZM::LOG("TextLoad: nothing to load!\n");
        return false;
    }
    ChangeSize(lines + 1);
    if (size != lines + 1) return false;
    file.SeekStart();
    for (uint32_t i = 0; i < size; i++) {
        FreeSlot(i);
        // The count includes the line feed, so an empty line reports 1.
        if (file.GetLine(line, WHOLE, '\n') > 1) strings[i] = QZMString::StringCopy(line.data);
    }
    return true;
}

bool QZMText::Save(QZMResFile& file, int format) {
    if (file.state != QZMResFile::ST_OK) return false;
    uint32_t count = size;
    while (count > 0 && !strings[count - 1]) count--;
    if (count == 0) return false;
    if (format == 0 || format == 1)
        SaveBinary(file, count);
    else if (format == 2)
        SaveLines(file, count);
    return true;
}

void QZMText::SaveBinary(QZMResFile& file, uint32_t count) const {
    file.Write32(TEXT_MAGIC);
    file.Write32(count);
    for (uint32_t i = 0; i < count; i++) {
        if (!strings[i]) {
            file.Write32(0);
            continue;
        }
        uint32_t length = static_cast<uint32_t>(strlen(strings[i]));
        file.Write32(length + 1);
        file.Write(strings[i], length);
    }
}

// Each string loses its last character: the text form has always been written that way.
void QZMText::SaveLines(QZMResFile& file, uint32_t count) const {
    for (uint32_t i = 0; i < count; i++) {
        if (strings[i]) {
            size_t length = strlen(strings[i]);
            if (length > 1) file.Write(strings[i], static_cast<uint32_t>(length - 1));
        }
        file.Write8('\n');
    }
}

void QZMText::PrintInfo() const {
    QZM::LOG("Array of %d strings :\n", size);
    for (uint32_t i = 0; i < size; i++)
        if (strings[i]) QZM::LOG("[%3d] %s\n", i, strings[i]);
}
