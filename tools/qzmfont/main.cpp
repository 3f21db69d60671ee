// qzmfont: renders a TrueType or OpenType font with FreeType into a "QZMF" bitmap font.
#include "FontBuilder.h"

#include <qzm/core/Version.h>
#include <qzm/gfx/Font.h>
#include <qzm/gfx/Image.h>
#include <qzm/io/File.h>

#include <cctype>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

namespace {

const char USAGE[] =
    "usage: qzmfont [OPTIONS] FONT.ttf OUT.qzf\n"
    "  -s, --size N        pixel size of the em, 1 to 255 (default 16)\n"
    "  -f, --first CODE    first character code, 0 to 255 (default 32)\n"
    "  -l, --last CODE     last character code, 0 to 255 (default 126)\n"
    "  -d, --depth N       bits per glyph pixel (default 1): 1; 2, four levels of ink for\n"
    "                      DrawTextEx; 8, FreeType's coverage as it is\n"
    "      --spacing N     extra pixels after every character, 0 to 255 (default 0)\n"
    "  -p, --preview FILE  also write the glyph sheet as a BMP picture\n"
    "      --help          print this help\n"
    "      --version       print the library's version\n"
    "\n"
    "Codes are Unicode code points (128-255: Latin-1); a character the font lacks gets no\n"
    "glyph. Every character is as wide as FreeType's hinted advance; ink outside it is cut.\n"
    "Exit status: 0 done, 1 failed, 2 bad usage.\n";

enum { DONE = 0, FAILED = 1, BAD_USAGE = 2 };

struct Options {
    FontRequest request;
    const char* output = nullptr;
    const char* preview = nullptr;
};

int BadUsage(const std::string& reason) {
    fprintf(stderr, "qzmfont: %s\n%s", reason.c_str(), USAGE);
    return BAD_USAGE;
}

int Failed(const std::string& reason) {
    fprintf(stderr, "qzmfont: %s\n", reason.c_str());
    return FAILED;
}

// Decimal, or hexadecimal after "0x".
bool ParseNumber(const char* text, unsigned& value) {
    const bool hex = text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
    const char* digits = hex ? text + 2 : text;
    if (!*digits || !(hex ? isxdigit((unsigned char)*digits) : isdigit((unsigned char)*digits)))
        return false;
    char* end = nullptr;
    errno = 0;
    const unsigned long parsed = strtoul(digits, &end, hex ? 16 : 10);
    if (*end || errno == ERANGE || parsed > UINT_MAX) return false;
    value = unsigned(parsed);
    return true;
}

// Which field an option sets; null for an unknown option.
unsigned* NumberOption(const std::string& name, FontRequest& request) {
    if (name == "-s" || name == "--size") return &request.pixelSize;
    if (name == "-f" || name == "--first") return &request.first;
    if (name == "-l" || name == "--last") return &request.last;
    if (name == "-d" || name == "--depth") return &request.depth;
    if (name == "--spacing") return &request.spacing;
    return nullptr;
}

// Options take their value as the next argument or after '='. BAD_USAGE or DONE.
int ParseArguments(int argc, char** argv, Options& options) {
    const char* positional[2] = {};
    int count = 0;
    for (int i = 1; i < argc; i++) {
        std::string name = argv[i];
        if (name.size() < 2 || name[0] != '-') {
            if (count == 2) return BadUsage("too many files: " + name);
            positional[count++] = argv[i];
            continue;
        }
        const size_t equals = name.find('=');
        const char* value = equals != std::string::npos ? argv[i] + equals + 1
                            : i + 1 < argc                ? argv[++i]
                                                          : nullptr;
        name = name.substr(0, equals);
        unsigned* number = NumberOption(name, options.request);
        if (!number && name != "-p" && name != "--preview")
            return BadUsage("unknown option " + name);
        if (!value) return BadUsage(name + " needs a value");
        if (!number)
            options.preview = value;
        else if (!ParseNumber(value, *number))
            return BadUsage(name + " needs a number, not '" + value + "'");
    }
    if (count < 2) return BadUsage(count ? "missing OUT.qzf" : "missing FONT.ttf and OUT.qzf");
    options.request.path = positional[0];
    options.output = positional[1];
    return DONE;
}

// Values that parse but cannot make a font. The reason, or empty.
std::string CheckRequest(const FontRequest& r) {
    if (r.pixelSize < 1 || r.pixelSize > 255)
        return "size " + std::to_string(r.pixelSize) + ": give 1 to 255 pixels";
    if (r.first > 255 || r.last > 255) return "character codes go from 0 to 255";
    if (r.first > r.last)
        return "empty range: first code " + std::to_string(r.first) + " is above last code " +
               std::to_string(r.last);
    if (r.depth != 1 && r.depth != 2 && r.depth != 8)
        return "depth " + std::to_string(r.depth) + ": give 1, 2 or 8";
    if (r.spacing > 255) return "spacing " + std::to_string(r.spacing) + ": give 0 to 255";
    return "";
}

// A file left half-written is removed; one that cannot be opened is not touched.
bool Write(QZMResource& resource, const char* path, int format) {
    bool saved;
    {
        QZMFile file(path, QZMResFile::READWRITE | QZMResFile::TRUNC);
        if (file.state != QZMResFile::ST_OK) return false;
        saved = resource.Save(file, format) && file.state == QZMResFile::ST_OK;
    }
    if (!saved) remove(path);
    return saved;
}

int Convert(const Options& options) {
    const std::string problem = CheckRequest(options.request);
    if (!problem.empty()) return Failed(problem);
    std::string error;
    std::unique_ptr<QZMFont> font = BuildFont(options.request, error);
    if (!font) return Failed(error);
    if (!Write(*font, options.output, 0))
        return Failed(std::string(options.output) + ": cannot write the font");
    if (!options.preview) return DONE;
    std::unique_ptr<QZMImage> preview = SheetPreview(*font);
    if (!preview || !Write(*preview, options.preview, 1)) // 1: BMP
        return Failed(std::string(options.preview) + ": cannot write the preview");
    return DONE;
}

} // namespace

int main(int argc, char** argv) {
    for (int i = 1; i < argc; i++) {
        if (strcmp(argv[i], "--help") == 0 || strcmp(argv[i], "-h") == 0) {
            fputs(USAGE, stdout);
            return DONE;
        }
        if (strcmp(argv[i], "--version") == 0) {
            printf("qzmfont (qzm) %s\n", QZM::Versiont());
            return DONE;
        }
    }
    Options options;
    const int parsed = ParseArguments(argc, argv, options);
    return parsed == DONE ? Convert(options) : parsed;
}
