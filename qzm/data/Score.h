#pragma once
#include <cstdint>

/// One slot of a score table; 28 bytes on disk and in memory.
struct QZMScoreEntry {
    char name[20]; ///< zero-terminated, at most 19 characters; empty marks an unused slot
    int32_t score;
    int32_t level; ///< informational only
};

/// Fixed-length ranked table of results, saved to a small binary file.
class QZMScore {
public:
    enum SortOrder : uint32_t {
        SCORE_HIGH_FIRST = 0,
        SCORE_LOW_FIRST = 1 ///< any value but 0 ranks lower scores first
    };

    QZMScoreEntry* entries; ///< size slots, or null
    uint32_t size;
    SortOrder order;

    /// A size of 0 allocates nothing; otherwise at least 3 slots reset with defaultScore.
    QZMScore(unsigned int size, SortOrder order, int defaultScore);
    ~QZMScore();
    QZMScore(const QZMScore&) = delete;
    QZMScore& operator=(const QZMScore&) = delete;

    /// Empties every slot and gives it defaultScore, the threshold a result must beat.
    void Reset(int defaultScore);
    /// Used slots from the top down to the first empty name.
    unsigned int Length() const;
    /// At least 3 slots; kept slots stay in place, new ones are zero-filled.
    void Resize(unsigned int newSize);
    /// Inserts a copy; returns its rank (0 is the best) or -1 when it does not enter.
    int Add(QZMScoreEntry* entry);
    /// A changed order reverses the table in place.
    void SetSortOrder(SortOrder order);
    /// Replaces size, order and table by the file's; false for a bad file or a short last name.
    bool Load(const char* fileName);
    /// Writes the table; disguiseNames stores the names complemented.
    bool Save(const char* fileName, bool disguiseNames);
    void PrintInfo() const;
};
