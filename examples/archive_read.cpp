// Opens an archive (the library's own "QZMA" or a Quake PAK), lists its members by name and
// prints one of them, read block by block through a stream.
// Run: qzm_example_archive_read data.qzma [member]   (without a member: the first listed)
// An archive to try: qzmarch, or tests/data/archive/make_pak.py out.pak hello.txt=Hello
#include <qzm/qzm.h>

#include <cstdio>
#include <memory>

int main(int argc, char** argv) {
    if (argc < 2) {
        fprintf(stderr, "usage: %s ARCHIVE [MEMBER]\n", argv[0]);
        return 2;
    }
    // The format is recognised by the file's first bytes; the archive is ours to delete.
    std::unique_ptr<QZMArchive> archive(QZMArchive::OpenArchive(argv[1]));
    if (!archive) {
        fprintf(stderr, "%s: not a QZMA or PAK archive\n", argv[1]);
        return 1;
    }
    printf("%s: %s, %u members\n", archive->Name(), archive->FormatInfo(), archive->NbFiles());

    archive->Sort(QZMFileProvider::SORT_NAME);  // sorts the listing, not the file
    const char* wanted = argc > 2 ? argv[2] : nullptr;
    for (QZMFileProvider::iterator it(*archive); !it.AtEnd(); it.Next()) {
        const char* name = archive->FileName(it.Index());
        printf("  %-32s %8u bytes\n", name, archive->FileSize(it.Index()));
        if (!wanted) wanted = name;
    }
    if (!wanted) return 0;  // an empty archive

    // A new stream over the member's bytes, ours to delete; it would outlive the archive.
    std::unique_ptr<QZMResFile> member(archive->OpenFile(wanted));
    if (!member) {
        fprintf(stderr, "%s: no member %s\n", argv[1], wanted);
        return 1;
    }
    printf("--- %s\n", wanted);
    char block[512];
    for (unsigned got; (got = member->Read(block, sizeof block)) > 0;)
        fwrite(block, 1, got, stdout);
    return member->Eof() ? 0 : 1;  // short of the end: the archive file is damaged
}
