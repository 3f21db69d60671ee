#pragma once
#include <cstdint>
#include <qzm/resource/Resource.h>

/// Indexed array of strings, any of which may be absent (null).
class QZMText : public QZMResource {
public:
    char** strings; ///< size slots, each a new[] string or null
    uint32_t size;  ///< at least 1

    explicit QZMText(unsigned int size = 1);
    /// Loads a disk file; on failure the array keeps one slot.
    QZMText(const char* fileName, int format);
    QZMText(QZMResFile& file, int format);
    QZMText(const QZMText&) = delete;
    QZMText& operator=(const QZMText&) = delete;
    ~QZMText() override;

    /// Number of present (non-null) strings.
    unsigned int Length() const;
    /// 0 is taken as 1; shrinking frees the strings cut off.
    void ChangeSize(unsigned int newSize);
    /// Copies length characters of text from start (0xFFFFFFFF: up to the end) into a slot,
    /// growing the array; a null text or length 0 empties the slot.
    void SetString(unsigned int index, const char* text, unsigned int start = 0,
                   unsigned int length = 0xFFFFFFFF);
    /// Stores into the first null slot or a new one; returns its index, or -1.
    int Append(const char* text, unsigned int start = 0, unsigned int length = 0xFFFFFFFF);
    /// Empties every slot; size stays.
    void Clear();

    uint32_t MemoryUsed() const override;
    /// 0 detects, 1 text, 2 binary.
    bool Load(QZMResFile& file, int format) override;
    /// 0 and 1 binary, 2 text; other codes write nothing and succeed.
    bool Save(QZMResFile& file, int format) override;
    void PrintInfo() const;

private:
    bool LoadBinary(QZMResFile& file);
    bool LoadLines(QZMResFile& file);
    void SaveBinary(QZMResFile& file, uint32_t count) const;
    void SaveLines(QZMResFile& file, uint32_t count) const;
    void FreeSlot(uint32_t index);
};
