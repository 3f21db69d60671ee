#include <qzm/data/LangSource.h>

#include <qzm/data/Translator.h>
#include <qzm/io/File.h>
#include <qzm/io/internal/Bounds.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <memory>
#include <new>

namespace {

const char NAME_KEY[] = "name:";
const char BOM[] = "\xEF\xBB\xBF";

// Length of the UTF-8 sequence at s (at most n bytes), or 0 when it is malformed:
// overlong forms, surrogates and code points above U+10FFFF are refused.
unsigned Utf8Sequence(const unsigned char* s, size_t n) {
    if (s[0] < 0x80) return 1;
    unsigned length = s[0] >= 0xF0 ? 4 : s[0] >= 0xE0 ? 3 : s[0] >= 0xC2 ? 2 : 0;
    if (length == 0 || s[0] > 0xF4 || n < length) return 0;
    for (unsigned i = 1; i < length; i++)
        if ((s[i] & 0xC0) != 0x80) return 0;
    if (s[0] == 0xE0 && s[1] < 0xA0) return 0;
    if (s[0] == 0xED && s[1] >= 0xA0) return 0;
    if (s[0] == 0xF0 && s[1] < 0x90) return 0;
    if (s[0] == 0xF4 && s[1] >= 0x90) return 0;
    return length;
}

bool IsUtf8(const char* s, size_t n) {
    const unsigned char* p = reinterpret_cast<const unsigned char*>(s);
    for (size_t i = 0; i < n;) {
        unsigned step = Utf8Sequence(p + i, n - i);
        if (step == 0) return false;
        i += step;
    }
    return true;
}

// Writes the canonical source into a string, or only counts its bytes without one.
class SourceWriter {
public:
    explicit SourceWriter(QZMString* out) : out(out) {}
    uint64_t size = 0;

    void Write(const QZMLangSource& lang) {
        if (!lang.name) return;
        Put(NAME_KEY);
        Put(' ');
        PutEscaped(lang.name);
        Put('\n');
        for (uint32_t i = 0; i < lang.strings.size; i++) {
            const char* text = lang.strings.strings[i];
            if (!text) continue;
            char number[16];
            snprintf(number, sizeof number, "%u:", i);
            Put(number);
            if (*text) Put(' ');
            PutEscaped(text);
            Put('\n');
        }
    }

private:
    QZMString* out;

    void Put(char c) {
        size++;
        if (out) *out += c;
    }
    void Put(const char* s) {
        for (; *s; s++) Put(*s);
    }
    void PutEscaped(const char* text) {
        for (const char* p = text; *p; p++) {
            if (*p == '\n')
                Put("\\n");
            else if (*p == '\t')
                Put("\\t");
            else if (*p == '\\')
                Put("\\\\");
            else
                Put(*p);
        }
    }
};

// Reads one source, line by line, into a QZMLangSource.
class SourceReader {
public:
    SourceReader(QZMLangSource& target, const char* label) : target(target), label(label) {}

    bool Read(const char* text, size_t length) {
        const char* end = text + length;
        if (length >= 3 && memcmp(text, BOM, 3) == 0) text += 3;
        for (const char* p = text; p < end; line++) {
            const char* feed = static_cast<const char*>(memchr(p, '\n', end - p));
            const char* stop = feed ? feed : end;
            size_t n = stop - p;
            if (n > 0 && p[n - 1] == '\r') n--;
            if (!ReadLine(p, n)) return false;
            p = stop + 1;
        }
        if (target.name) return true;
        target.error.Format("%s: missing the line \"name: LANGUAGE\"", label);
        return false;
    }

private:
    QZMLangSource& target;
    const char* label;
    unsigned line = 1;
    QZMString text;

    bool Fail(const char* fmt, ...) QZM_PRINTF(2, 3) {
        char message[160];
        va_list args;
        va_start(args, fmt);
        vsnprintf(message, sizeof message, fmt, args);
        va_end(args);
        target.error.Format("%s:%u: %s", label, line, message);
        return false;
    }

    bool ReadLine(const char* s, size_t n) {
        if (memchr(s, 0, n)) return Fail("NUL byte in the line");
        if (!IsUtf8(s, n)) return Fail("invalid UTF-8");
        size_t blanks = 0;
        while (blanks < n && (s[blanks] == ' ' || s[blanks] == '\t')) blanks++;
        if (blanks == n || s[0] == '#') return true;
        if (n >= sizeof NAME_KEY - 1 && memcmp(s, NAME_KEY, sizeof NAME_KEY - 1) == 0)
            return ReadName(s + sizeof NAME_KEY - 1, n - (sizeof NAME_KEY - 1));
        return ReadString(s, n);
    }

    // The value after "KEY:": one space is dropped, escapes are resolved into `text`. Reading
    // stops one byte past limit, so one allocation holds the text however long the line.
    bool Unescape(const char* s, size_t n, size_t limit) {
        if (n > 0 && s[0] == ' ') {
            s++;
            n--;
        }
        text = "";
        text.Allocate(static_cast<unsigned>(std::min(n, limit + 1)) + 2);
        for (size_t i = 0; i < n && text.length <= limit; i++) {
            if (s[i] != '\\') {
                text += s[i];
                continue;
            }
            if (++i == n) return Fail("backslash at the end of the line");
            if (s[i] == 'n')
                text += '\n';
            else if (s[i] == 't')
                text += '\t';
            else if (s[i] == '\\')
                text += '\\';
            else
                return Fail("unknown escape \\%c (use \\n, \\t or \\\\)", s[i]);
        }
        return true;
    }

    bool ReadName(const char* s, size_t n) {
        if (target.name) return Fail("second \"name:\" line");
        if (!Unescape(s, n, QZMLangSource::MAX_NAME)) return false;
        if (text.length == 0) return Fail("empty language name");
        if (text.length > QZMLangSource::MAX_NAME)
            return Fail("language name longer than %u bytes", QZMLangSource::MAX_NAME);
        target.name = QZMString::StringCopy(text.data);
        return true;
    }

    bool ReadString(const char* s, size_t n) {
        size_t digits = 0;
        unsigned long number = 0;
        while (digits < n && s[digits] >= '0' && s[digits] <= '9') {
            if (number <= QZMLangSource::MAX_NUMBER) number = number * 10 + (s[digits] - '0');
            digits++;
        }
        if (digits == 0 || digits == n || s[digits] != ':')
            return Fail("expected \"NUMBER: text\" or \"name: LANGUAGE\"");
        if (number > QZMLangSource::MAX_NUMBER)
            return Fail("string number above %u", QZMLangSource::MAX_NUMBER);
        if (!target.name) return Fail("string %lu before the line \"name: LANGUAGE\"", number);
        if (number < target.strings.size && target.strings.strings[number])
            return Fail("string %lu given twice", number);
        if (!Unescape(s + digits + 1, n - digits - 1, QZMLangSource::MAX_TEXT)) return false;
        if (text.length > QZMLangSource::MAX_TEXT)
            return Fail("string %lu longer than %u bytes", number, QZMLangSource::MAX_TEXT);
        // Doubling keeps a long run of ascending numbers from copying the table every line.
        QZMText& table = target.strings;
        if (number >= table.size)
            table.ChangeSize(std::max(static_cast<unsigned>(number) + 1, 2 * table.size));
        if (number >= table.size) return Fail("out of memory");
        // An empty text is kept as an empty string, not as an absent one.
        table.SetString(static_cast<unsigned>(number), text.data ? text.data : "");
        return true;
    }
};

uint32_t StringsUsed(const QZMText& strings) {
    uint32_t count = strings.size;
    while (count > 0 && !strings.strings[count - 1]) count--;
    return count;
}

} // namespace

QZMLangSource::QZMLangSource() : name(nullptr) {}

QZMLangSource::~QZMLangSource() { delete[] name; }

void QZMLangSource::Clear() {
    delete[] name;
    name = nullptr;
    strings.ChangeSize(1);
    strings.Clear();
    error = "";
}

bool QZMLangSource::ParseFile(const char* path) {
    Clear();
    QZMFile file(path, QZMResFile::READ);
    if (file.state != QZMResFile::ST_OK) {
        error.Format("%s: cannot open the file", path ? path : "(null)");
        return false;
    }
    uint32_t size = QZM::internal::RemainingBytes(file);
    std::unique_ptr<char[]> text(new (std::nothrow) char[size ? size : 1]);
    if (!text || file.Read(text.get(), size) != size) {
        error.Format("%s: cannot read the file", path);
        return false;
    }
    return Parse(text.get(), size, path);
}

bool QZMLangSource::Parse(const char* text, unsigned int length, const char* label) {
    Clear();
    SourceReader reader(*this, label ? label : "(source)");
    if (reader.Read(text, text ? length : 0)) return true;
    QZMString message(error);
    Clear();
    error = message;
    return false;
}

bool QZMLangSource::Take(const QZMTranslator& translator) {
    Clear();
    name = QZMString::StringCopy(translator.GetCurName());
    if (!name) {
        error = "no language loaded";
        return false;
    }
    uint32_t count = translator.stringCount;
    strings.ChangeSize(count);
    if (count > strings.size) {
        error = "out of memory";
        return false;
    }
    for (uint32_t i = 0; i < count; i++)
        if (translator.strings[i]) strings.SetString(i, translator.strings[i]);
    return true;
}

bool QZMLangSource::Save(QZMResFile& file) {
    error = "";
    size_t nameSize = name ? strlen(name) + 1 : 0;
    if (nameSize == 0 || nameSize > MAX_NAME + 1) {
        error = nameSize ? "language name too long" : "no language name";
        return false;
    }
    uint32_t count = StringsUsed(strings);
    uint64_t blockSize = 0;
    for (uint32_t i = 0; i < count; i++) {
        size_t n = strings.strings[i] ? strlen(strings.strings[i]) + 1 : 0;
        if (n > MAX_TEXT + 1) {
            error.Format("string %u longer than %u bytes", i, MAX_TEXT);
            return false;
        }
        blockSize += n;
    }
    uint32_t tableAt = static_cast<uint32_t>(6 + nameSize + 16);
    // Readers cannot seek beyond the positive 32-bit range.
    if (tableAt + 2 * static_cast<uint64_t>(count) + blockSize > 0x7FFFFFFF) {
        error = "language too large";
        return false;
    }
    file.Write("LanG", 4);
    file.Write8(0);
    file.Write8(static_cast<uint8_t>(nameSize));
    file.Write(name, static_cast<unsigned>(nameSize));
    file.Write32(count);
    file.Write32(tableAt);
    file.Write32(tableAt + 2 * count);
    file.Write32(static_cast<uint32_t>(blockSize));
    for (uint32_t i = 0; i < count; i++)
        file.Write16(
            static_cast<uint16_t>(strings.strings[i] ? strlen(strings.strings[i]) + 1 : 0));
    for (uint32_t i = 0; i < count; i++)
        if (strings.strings[i])
            file.Write(strings.strings[i], static_cast<unsigned>(strlen(strings.strings[i]) + 1));
    if (file.state != QZMResFile::ST_OK) error = "write error";
    return file.state == QZMResFile::ST_OK;
}

bool QZMLangSource::SaveName(const char* fileName) {
    QZMFile file(fileName, QZMResFile::WRITE);
    if (file.state != QZMResFile::ST_OK) {
        error.Format("%s: cannot create the file", fileName ? fileName : "(null)");
        return false;
    }
    if (Save(file)) return true;
    QZMString message(error);
    error.Format("%s: %s", fileName, message.data);
    return false;
}

bool QZMLangSource::Source(QZMString& out) const {
    out = "";
    SourceWriter counter(nullptr);
    counter.Write(*this);
    if (counter.size > 0x7FFFFFFE) return false;
    // Sized first: a dump grown line by line would copy the text once per line.
    out.Allocate(static_cast<unsigned>(counter.size) + 1);
    SourceWriter writer(&out);
    writer.Write(*this);
    return true;
}
