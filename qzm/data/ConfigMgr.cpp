#include <qzm/data/ConfigMgr.h>

#include <qzm/core/Log.h>
#include <qzm/core/Parse.h>
#include <qzm/core/String.h>

#include <cstring>
#include <ctime>
#include <fstream>
#include <new>
#include <strings.h>

namespace {

const unsigned MIN_CELLS = 4;
// Lines longer than this stop the reading of a file.
const unsigned LINE_BUFFER = 1024;

const char* const TYPE_WORDS[] = {"none", "bool", "int", "float", "string", "color", "date"};

const char* TypeWord(uint32_t type) {
    return type < sizeof TYPE_WORDS / sizeof TYPE_WORDS[0] ? TYPE_WORDS[type] : "?";
}

bool IsTrueWord(const char* s) {
    return s[0] == '1' || strcasecmp(s, "true") == 0 || strcasecmp(s, "yes") == 0;
}

QZMConfigMgr::CfgValue ZeroValue() {
    QZMConfigMgr::CfgValue v;
    memset(&v, 0, sizeof v);
    return v;
}

// Reads an int, float, date or colour; the value is unchanged on failure.
bool ReadTypedValue(QZMConfigMgr::CfgCell& cell, const char* text) {
    switch (cell.type) {
    case QZMConfigMgr::CFG_INT: return QZMParse::ReadInt(text, cell.value.intValue) != nullptr;
    case QZMConfigMgr::CFG_FLOAT:
        return QZMParse::ReadFloat(text, cell.value.floatValue) != nullptr;
    case QZMConfigMgr::CFG_DATE: return QZMParse::ReadDate(text, cell.value.dateValue);
    case QZMConfigMgr::CFG_COLOR: {
        // "#RRGGBB" leaves alpha alone: preset it so that such a colour is opaque.
        QZMRGBA color = {0, 0, 0, 255};
        if (!QZMParse::ReadColor(text, &color.r)) return false;
        cell.value.colorValue = color;
        return true;
    }
    default: return false;
    }
}

// "%4d/%02d/%02d %02d:%02d:%02d" with the month field as it stands and the year rule of
// the date reader; false when the time cannot be converted.
bool FormatDate(long seconds, char* out, size_t size) {
    time_t t = static_cast<time_t>(seconds);
    struct tm fields;
    if (!localtime_r(&t, &fields)) return false;
    int year = fields.tm_year;
    if (year < 100) year += 2000;
    if (year < 200) year += 1900;
    snprintf(out, size, "%4d/%02d/%02d %02d:%02d:%02d", year, fields.tm_mon, fields.tm_mday,
             fields.tm_hour, fields.tm_min, fields.tm_sec);
    return true;
}

void WriteValue(std::ostream& out, const QZMConfigMgr::CfgCell& cell) {
    const QZMConfigMgr::CfgValue& v = cell.value;
    char date[64];
    switch (cell.type) {
    case QZMConfigMgr::CFG_BOOL: out << (v.boolValue ? "true" : "false"); break;
    case QZMConfigMgr::CFG_INT: out << v.intValue; break;
    case QZMConfigMgr::CFG_FLOAT: out << v.floatValue; break;
    case QZMConfigMgr::CFG_STRING:
        if (v.stringValue) out << v.stringValue;
        break;
    case QZMConfigMgr::CFG_COLOR: out << v.colorValue.WebString(false); break;
    case QZMConfigMgr::CFG_DATE:
        if (FormatDate(v.dateValue, date, sizeof date)) out << date;
        break;
    default: break;
    }
}

} // namespace

QZMConfigMgr::QZMConfigMgr(unsigned int initialSize) : count(0), alloc(0), cells(nullptr) {
    unsigned n = initialSize < MIN_CELLS ? MIN_CELLS : initialSize;
    cells = new (std::nothrow) CfgCell[n]();
    if (cells) alloc = n;
}

QZMConfigMgr::~QZMConfigMgr() {
    for (uint32_t i = 0; i < count; i++) FreeCell(cells[i]);
    delete[] cells;
}

void QZMConfigMgr::FreeCell(CfgCell& cell) {
    delete[] cell.name;
    if (cell.type == CFG_STRING) delete[] cell.value.stringValue;
    memset(&cell, 0, sizeof cell);
}

void QZMConfigMgr::StoreString(CfgCell& cell, const char* text) {
    char* copy = QZMString::StringCopy(text);
    delete[] cell.value.stringValue;
    cell.value.stringValue = copy;
}

bool QZMConfigMgr::Find(const char* name, unsigned int& index) const {
    if (!name || !*name) return false;
    int64_t low = 0;
    int64_t high = static_cast<int64_t>(count) - 1;
    while (low <= high) {
        int64_t middle = (low + high) / 2;
        int order = strcasecmp(name, cells[middle].name);
        if (order == 0) {
            index = static_cast<unsigned>(middle);
            return true;
        }
        if (order > 0)
            low = middle + 1;
        else
            high = middle - 1;
    }
    index = static_cast<unsigned>(low);
    return false;
}

bool QZMConfigMgr::Grow() {
    if (alloc > 0x7FFFFFFF) return false;
    uint32_t n = alloc ? 2 * alloc : MIN_CELLS;
    CfgCell* grown = new (std::nothrow) CfgCell[n]();
    if (!grown) return false;
    if (count) memcpy(grown, cells, count * sizeof(CfgCell));
    delete[] cells;
    cells = grown;
    alloc = n;
    return true;
}

bool QZMConfigMgr::AddParameter(const char* name, int type, CfgValue value) {
    unsigned index = 0;
    // An empty name could never be found again: refuse it.
    if (!name || !*name || Find(name, index)) return false;
    if (count >= alloc) {
        if (!Grow()) return false;
        if (index > count) index = count;
    }
    memmove(cells + index + 1, cells + index, (count - index) * sizeof(CfgCell));
    CfgCell& cell = cells[index];
    cell.name = QZMString::StringCopy(name);
    cell.type = static_cast<uint32_t>(type);
    cell.value = value;
    if (type == CFG_STRING) cell.value.stringValue = QZMString::StringCopy(value.stringValue);
    count++;
    return true;
}

bool QZMConfigMgr::RemoveParameter(const char* name) {
    unsigned index;
    if (count == 0 || !Find(name, index)) return false;
    FreeCell(cells[index]);
    memmove(cells + index, cells + index + 1, (count - index - 1) * sizeof(CfgCell));
    count--;
    memset(&cells[count], 0, sizeof(CfgCell));
    return true;
}

int QZMConfigMgr::ParamType(const char* name) const {
    CfgCell* cell = GetCell(name);
    return cell ? static_cast<int>(cell->type) : static_cast<int>(CFG_NONE);
}

QZMConfigMgr::CfgCell* QZMConfigMgr::GetCell(const char* name) const {
    unsigned index;
    return Find(name, index) ? &cells[index] : nullptr;
}

QZMConfigMgr::CfgValue QZMConfigMgr::GetValue(const char* name, int) const {
    CfgCell* cell = GetCell(name);
    return cell ? cell->value : ZeroValue();
}

bool QZMConfigMgr::SetValue(const char* name, int type, CfgValue value, bool changeType) {
    CfgCell* cell = GetCell(name);
    if (!cell) return false;
    if (cell->type != static_cast<uint32_t>(type)) {
        if (!changeType) return false;
        if (cell->type == CFG_STRING) delete[] cell->value.stringValue;
        cell->value = ZeroValue();
        cell->type = static_cast<uint32_t>(type);
    }
    if (type == CFG_STRING)
        StoreString(*cell, value.stringValue);
    else
        cell->value = value;
    return true;
}

bool QZMConfigMgr::ParseCL(int argc, char** argv) {
    bool ok = true;
    if (!argv) return ok;
    for (int i = 1; i < argc; i++) i = ParseOption(argc, argv, i, ok);
    return ok;
}

// Handles the option at argv[i]; returns the index of the last argument it consumed.
int QZMConfigMgr::ParseOption(int argc, char** argv, int i, bool& ok) {
    const char* arg = argv[i];
    if (!arg) return i;
    if (arg[0] != '-') {
        QZM::LOG("Config: ignored value %s\n", arg);
        ok = false;
        return i;
    }
    unsigned index;
    if (!Find(arg + 1, index)) {
        QZM::LOG("Config: unknown parameter %s\n", arg);
        ok = false;
        return i;
    }
    CfgCell& cell = cells[index];
    const char* next = i + 1 < argc ? argv[i + 1] : nullptr;
    switch (cell.type) {
    case CFG_BOOL:
        if (next && next[0] != '-') {
            cell.value.boolValue = IsTrueWord(next);
            return i + 1;
        }
        cell.value.boolValue = true;
        return i;
    case CFG_INT:
    case CFG_FLOAT:
    case CFG_DATE:
        if (!next || !ReadTypedValue(cell, next)) {
            QZM::LOG("Config: missing value for param %s\n", arg);
            ok = false;
        }
        return next ? i + 1 : i;
    case CFG_STRING:
        if (!next) {
            QZM::LOG("Config: missing value for param %s\n", arg);
            ok = false;
            return i;
        }
        return ParseStringOption(argc, argv, i + 1, cell);
    case CFG_COLOR:
        if (!next || next[0] != '#') {
            QZM::LOG("Config: missing value for param %s\n", arg);
            ok = false;
            return i;
        }
        if (!ReadTypedValue(cell, next)) ok = false;
        return i + 1;
    default: QZM::LOG("Config: unknown value type %d\n", cell.type); return i;
    }
}

// The words from argv[first] up to the next option, joined by single spaces.
int QZMConfigMgr::ParseStringOption(int argc, char** argv, int first, CfgCell& cell) {
    int last = first;
    size_t total = strlen(argv[first]);
    while (last + 1 < argc && argv[last + 1] && argv[last + 1][0] != '-')
        total += 1 + strlen(argv[++last]);
    // Room for the whole text at once: growing word by word would copy it once per word.
    QZMString joined(static_cast<unsigned>(total), nullptr);
    joined += argv[first];
    for (int i = first + 1; i <= last; i++) {
        joined += ' ';
        joined += argv[i];
    }
    StoreString(cell, joined.data);
    return last;
}

bool QZMConfigMgr::ParseFile(const char* fileName) {
    if (!fileName) return false;
    std::ifstream in(fileName);
    if (!in.is_open()) return false;
    bool gotValue = false;
    char line[LINE_BUFFER];
    // getline fails on a line that does not fit, which ends the reading.
    while (in.getline(line, sizeof line)) {
        if (!line[0] || line[0] == '#') continue;
        char* name = line[0] == '-' ? line + 1 : line;
        char* end = name + strcspn(name, " \t");
        const char* value = end;
        if (*end) {
            *end = 0;
            value = end + 1;
        }
        unsigned index;
        if (!Find(name, index)) {
            QZM::LOG("Config: unknown parameter %s\n", name);
            continue;
        }
        value = QZMParse::EatSpace(value);
        if (!*value) {
            QZM::LOG("Config: missing value for param %s\n", name);
            continue;
        }
        if (ParseFileValue(cells[index], name, value)) gotValue = true;
    }
    return gotValue;
}

bool QZMConfigMgr::ParseFileValue(CfgCell& cell, const char* name, const char* value) {
    switch (cell.type) {
    case CFG_BOOL: cell.value.boolValue = IsTrueWord(value); return true;
    case CFG_STRING: StoreString(cell, value); return true;
    case CFG_INT:
    case CFG_FLOAT:
    case CFG_COLOR:
    case CFG_DATE:
        if (ReadTypedValue(cell, value)) return true;
        QZM::LOG("Config: bad %s value for param %s : %s\n", TypeWord(cell.type), name, value);
        return false;
    default: QZM::LOG("Config: unknown value type %d\n", cell.type); return false;
    }
}

bool QZMConfigMgr::Save(const char* fileName, const char* comment) const {
    if (!fileName) return false;
    std::ofstream out(fileName, std::ios::out | std::ios::trunc);
    if (!out.is_open()) return false;
    out << "#\n";
    if (comment) out << "# " << comment << "\n";
    out << "# Configuration file\n#\n\n";
    for (uint32_t i = 0; i < count; i++) {
        out << cells[i].name << '\t';
        WriteValue(out, cells[i]);
        out << '\n';
    }
    return true;
}

void QZMConfigMgr::PrintInfo() const {
    QZM::LOG("Configuration (%d parameters):\n", count);
    for (uint32_t i = 0; i < count; i++) {
        const CfgCell& cell = cells[i];
        const CfgValue& v = cell.value;
        QZM::LOG("- %s (", cell.name);
        switch (cell.type) {
        case CFG_BOOL: QZM::LOG("bool): %s\n", v.boolValue ? "true" : "false"); break;
        case CFG_INT: QZM::LOG("int): %d\n", v.intValue); break;
        case CFG_FLOAT: QZM::LOG("float): %f\n", v.floatValue); break;
        case CFG_STRING: QZM::LOG("string): %s\n", v.stringValue ? v.stringValue : "(null)"); break;
        case CFG_COLOR:
            QZM::LOG("color): %s [%d, %d, %d, %d]\n", v.colorValue.WebString(false), v.colorValue.r,
                     v.colorValue.g, v.colorValue.b, v.colorValue.a);
            break;
        case CFG_DATE: {
            time_t t = static_cast<time_t>(v.dateValue);
            char text[64];
            const char* shown = ctime_r(&t, text) ? text : "(null)\n";
            QZM::LOG("date): %s (%d)\n", shown, static_cast<int>(v.dateValue));
            break;
        }
        default: break;
        }
    }
}
