// Score file, integers little-endian:
//   0  4      magic 0x01020304 (bytes 04 03 02 01)
//   4  1      version, written as 3
//   5  4      N, the number of slots
//   9  4      sort order (0 high first, other low first)
//   13 1      names-disguised flag, present only when the version is above 2
//   14 28 x N slots in rank order: 20 name bytes, score (4), level (4)
// A disguised name is stored complemented up to its terminator. A file cut short loads the
// slots it holds and zeros for the rest.
#include <qzm/data/Score.h>

#include <qzm/core/Log.h>
#include <qzm/core/Parse.h>
#include <qzm/io/File.h>
#include <qzm/io/internal/Bounds.h>

#include <cstring>
#include <new>
#include <utility>

namespace {

const uint32_t SCORE_MAGIC = 0x01020304;
const uint8_t SCORE_VERSION = 3;
const unsigned MIN_SLOTS = 3;
const unsigned NAME_SIZE = sizeof(QZMScoreEntry::name);
const unsigned SLOT_SIZE = NAME_SIZE + 8;
static_assert(sizeof(QZMScoreEntry) == SLOT_SIZE, "slots are copied as their file bytes");

bool Beats(int32_t score, int32_t other, bool highFirst) {
    return highFirst ? score > other : score < other;
}

// Complements a name up to its terminator, through a terminated copy because a name may
// fill all 20 bytes; the bytes after the terminator come out zero.
void ComplementName(const char* in, char* out) {
    char text[NAME_SIZE + 1] = {};
    memcpy(text, in, strnlen(in, NAME_SIZE));
    QZMParse::Obfuscate(text, text);
    memcpy(out, text, NAME_SIZE);
}

// A load succeeds once the last name is in, its score and level may be missing: a table too
// large to allocate blindly must have that much left in the file.
bool PlausibleSlots(QZMResFile& file, uint32_t slots) {
    if (slots == 0) return true;
    uint64_t throughLastName = uint64_t(slots) * SLOT_SIZE - (SLOT_SIZE - NAME_SIZE);
    return QZM::internal::PlausibleAllocation(file, throughLastName);
}

} // namespace

QZMScore::QZMScore(unsigned int size, SortOrder order, int defaultScore)
    : entries(nullptr), size(0), order(order) {
    if (size == 0) return;
    unsigned n = size < MIN_SLOTS ? MIN_SLOTS : size;
    entries = new (std::nothrow) QZMScoreEntry[n];
    if (!entries) return;
    this->size = n;
    Reset(defaultScore);
}

QZMScore::~QZMScore() { delete[] entries; }

void QZMScore::Reset(int defaultScore) {
    for (uint32_t i = 0; i < size; i++) {
        memset(entries[i].name, 0, NAME_SIZE);
        entries[i].score = defaultScore;
        entries[i].level = 0;
    }
}

unsigned int QZMScore::Length() const {
    unsigned n = 0;
    while (n < size && entries[n].name[0]) n++;
    return n;
}

void QZMScore::Resize(unsigned int newSize) {
    if (newSize == size) return;
    unsigned n = newSize < MIN_SLOTS ? MIN_SLOTS : newSize;
    QZMScoreEntry* resized = new (std::nothrow) QZMScoreEntry[n]();
    if (!resized) return;
    unsigned kept = size < n ? size : n;
    if (kept) memcpy(resized, entries, kept * sizeof(QZMScoreEntry));
    delete[] entries;
    entries = resized;
    size = n;
}

int QZMScore::Add(QZMScoreEntry* entry) {
    if (!entry || !entries || size == 0) return -1;
    bool highFirst = order == SCORE_HIGH_FIRST;
    uint32_t last = size - 1;
    if (!Beats(entry->score, entries[last].score, highFirst)) return -1;
    uint32_t rank = last;
    while (rank > 0 && Beats(entry->score, entries[rank - 1].score, highFirst)) rank--;
    memmove(entries + rank + 1, entries + rank, (last - rank) * sizeof(QZMScoreEntry));
    entries[rank] = *entry;
    return static_cast<int>(rank);
}

void QZMScore::SetSortOrder(SortOrder newOrder) {
    if (newOrder == order) return;
    order = newOrder;
    if (!entries || size < 2) return;
    // (size - 1) / 2 swaps: for an even size the two middle slots stay where they are.
    for (uint32_t i = 0; i < (size - 1) / 2; i++) std::swap(entries[i], entries[size - 1 - i]);
}

bool QZMScore::Load(const char* fileName) {
    QZMFile file(fileName, QZMResFile::READ);
    if (file.state != QZMResFile::ST_OK) return false;
    if (file.Read32() != SCORE_MAGIC) return false;
    uint8_t version = file.Read8();
    uint32_t slots = file.Read32();
    uint32_t newOrder = file.Read32();
    bool disguised = version > 2 && file.Read8() == 1;

    delete[] entries;
    entries = nullptr;
    size = 0;
    order = static_cast<SortOrder>(newOrder);
    if (!PlausibleSlots(file, slots)) return false;
    entries = new (std::nothrow) QZMScoreEntry[slots]();
    if (!entries) return false;
    size = slots;

    bool lastNameRead = true;
    for (uint32_t i = 0; i < slots; i++) {
        lastNameRead = file.Read(entries[i].name, NAME_SIZE) == NAME_SIZE;
        entries[i].score = static_cast<int32_t>(file.Read32());
        entries[i].level = static_cast<int32_t>(file.Read32());
    }
    if (disguised)
        for (uint32_t i = 0; i < slots; i++)
            if (entries[i].name[0]) ComplementName(entries[i].name, entries[i].name);
    return lastNameRead;
}

bool QZMScore::Save(const char* fileName, bool disguiseNames) {
    if (!entries) return false;
    QZMFile file(fileName, QZMResFile::WRITE);
    if (file.state != QZMResFile::ST_OK) return false;
    file.Write32(SCORE_MAGIC);
    file.Write8(SCORE_VERSION);
    file.Write32(size);
    file.Write32(order);
    file.Write8(disguiseNames ? 1 : 0);
    for (uint32_t i = 0; i < size; i++) {
        const QZMScoreEntry& entry = entries[i];
        char name[NAME_SIZE];
        if (disguiseNames && entry.name[0])
            ComplementName(entry.name, name);
        else
            memcpy(name, entry.name, NAME_SIZE);
        file.Write(name, NAME_SIZE);
        file.Write32(static_cast<uint32_t>(entry.score));
        file.Write32(static_cast<uint32_t>(entry.level));
    }
    return true;
}

void QZMScore::PrintInfo() const {
    QZM::LOG("Score table (%d entries) (name/level/score):\n", size);
    for (uint32_t i = 0; i < size; i++) {
        // A name may fill its 20 bytes without a terminator.
        char name[NAME_SIZE + 1] = {};
        memcpy(name, entries[i].name, NAME_SIZE);
        QZM::LOG("[%3d] %32s %3d %8d\n", i, name, entries[i].level, entries[i].score);
    }
}
