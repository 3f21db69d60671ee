#pragma once
#include <cstdint>
#include <qzm/gfx/RGBA.h>

/// Typed table of named settings, filled from a command line and a configuration file;
/// names are case-insensitive everywhere.
class QZMConfigMgr {
public:
    enum CfgType : uint32_t {
        CFG_NONE = 0,
        CFG_BOOL = 1,
        CFG_INT = 2,
        CFG_FLOAT = 3,
        CFG_STRING = 4,
        CFG_COLOR = 5,
        CFG_DATE = 6
    };

    /// One value; the cell's type tells which member is meaningful.
    union CfgValue {
        bool boolValue;
        int32_t intValue;
        float floatValue;
        char* stringValue;
        QZMRGBA colorValue;
        long dateValue; ///< seconds since the epoch
    };

    struct CfgCell {
        char* name;     ///< owned copy
        uint32_t type;  ///< a CfgType code
        CfgValue value; ///< a string cell owns its string, which may be null
    };

    uint32_t count; ///< cells in use
    uint32_t alloc; ///< capacity
    CfgCell* cells; ///< the first count in use, sorted by name ignoring case; the rest zero

    /// Room for initialSize parameters, at least 4.
    explicit QZMConfigMgr(unsigned int initialSize = 4);
    ~QZMConfigMgr();
    QZMConfigMgr(const QZMConfigMgr&) = delete;
    QZMConfigMgr& operator=(const QZMConfigMgr&) = delete;

    /// Declares a parameter with its default; false when the name exists (any case) or is empty.
    /// A string value is copied.
    bool AddParameter(const char* name, int type, CfgValue value);
    bool RemoveParameter(const char* name);
    /// The type code, or CFG_NONE for an unknown name.
    int ParamType(const char* name) const;
    /// True with the cell's index when found; otherwise index is the insertion point
    /// (untouched for a null or empty name).
    bool Find(const char* name, unsigned int& index) const;
    /// The cell, or null.
    CfgCell* GetCell(const char* name) const;
    /// The value, all zero for an unknown name; type is not checked.
    CfgValue GetValue(const char* name, int type) const;
    /// Never creates a parameter; a different type is refused unless changeType.
    bool SetValue(const char* name, int type, CfgValue value, bool changeType);

    /// "-name value" options from argv[1]; false when any was ignored, unknown or unreadable.
    bool ParseCL(int argc, char** argv);
    /// "name value" lines; false when the file cannot be read or no parameter got a value.
    bool ParseFile(const char* fileName);
    /// Writes every parameter as "name<TAB>value"; false when the file cannot be created.
    bool Save(const char* fileName, const char* comment) const;
    void PrintInfo() const;

private:
    bool Grow();
    void FreeCell(CfgCell& cell);
    void StoreString(CfgCell& cell, const char* text);
    bool ParseFileValue(CfgCell& cell, const char* name, const char* value);
    int ParseOption(int argc, char** argv, int i, bool& ok);
    int ParseStringOption(int argc, char** argv, int i, CfgCell& cell);
};
