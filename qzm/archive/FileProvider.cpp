#include <qzm/archive/FileProvider.h>

#include <qzm/io/FileUtils.h>

#include <strings.h>

#include <cstring>
#include <memory>
#include <new>

namespace {

// Quicksort of the index array `order` over the items it names. The partition keeps the
// classic scheme (pivot at hi, i up / j down, swap, pivot into place) so that ties land where
// they always did; only the side taken by recursion changes, which bounds the stack.
class IndexSorter {
public:
    IndexSorter(const QZMFileProvider& provider, const QZMSortableItem* const* items,
                int32_t* order)
        : provider(provider), items(items), order(order) {}

    void Sort(long lo, long hi) {
        while (hi > lo) {
            long split = Partition(lo, hi);
            if (split - lo < hi - split) {
                Sort(lo, split - 1);
                lo = split + 1;
            } else {
                Sort(split + 1, hi);
                hi = split - 1;
            }
        }
    }

private:
    int Compare(long position, const QZMSortableItem* pivot) const {
        return provider.CompareFunc(items[order[position]], pivot);
    }

    long Partition(long lo, long hi) {
        const QZMSortableItem* pivot = items[order[hi]];
        long i = lo;
        long j = hi - 1;
        for (;;) {
            // The bounds matter only for a comparison that is not a consistent order.
            while (i < hi && Compare(i, pivot) < 0) i++;
            while (j > lo && Compare(j, pivot) > 0) j--;
            if (i >= j) break;
            std::swap(order[i], order[j]);
            i++;
        }
        std::swap(order[i], order[hi]);
        return i;
    }

    const QZMFileProvider& provider;
    const QZMSortableItem* const* items;
    int32_t* order;
};

int CompareNames(const char* a, const char* b, bool caseSensitive) {
    return caseSensitive ? strcmp(a, b) : strcasecmp(a, b);
}

int CompareExtensions(const char* nameA, const char* nameB, bool caseSensitive) {
    const char* a = QZMFileUtils::FileExtension(nameA);
    const char* b = QZMFileUtils::FileExtension(nameB);
    if (!a || !b) return (a ? 1 : 0) - (b ? 1 : 0);
    return CompareNames(a, b, caseSensitive);
}

} // namespace

QZMFileProvider::iterator::iterator(const QZMFileProvider& provider, unsigned position)
    : provider(&provider), position(position) {}

int QZMFileProvider::iterator::Index() const {
    return AtEnd() ? -1 : provider->GetItem(position)->index;
}

bool QZMFileProvider::iterator::AtEnd() const { return position >= provider->NbFiles(); }

QZMFileProvider::QZMFileProvider() : sortKey(0), dirsFirst(0), reverse(0), caseSensitive(0) {}

QZMFileProvider::~QZMFileProvider() = default;

void QZMFileProvider::Update() {}

void QZMFileProvider::Sort(int flags) {
    const unsigned count = NbFiles();
    for (unsigned i = 0; i < count; i++) GetItem(i)->index = int32_t(i);
    if ((flags & SORT_KEY) == 0) return;
    sortKey = flags & SORT_KEY;
    dirsFirst = (flags & SORT_DIRFIRST) != 0;
    reverse = (flags & SORT_REVERSE) != 0;
    caseSensitive = (flags & SORT_CASE) != 0;
    if (count < 2) return;

    // The items are gathered once so the sort itself makes no virtual GetItem calls.
    std::unique_ptr<const QZMSortableItem*[]> items(new (std::nothrow) const QZMSortableItem*[count]);
    std::unique_ptr<int32_t[]> order(new (std::nothrow) int32_t[count]);
    if (!items || !order) return;
    for (unsigned i = 0; i < count; i++) {
        items[i] = GetItem(i);
        order[i] = int32_t(i);
    }
    IndexSorter(*this, items.get(), order.get()).Sort(0, long(count) - 1);
    for (unsigned i = 0; i < count; i++) GetItem(i)->index = order[i];
}

int QZMFileProvider::CompareFields(const char* nameA, uint32_t sizeA, uint32_t dateA,
                                   const char* nameB, uint32_t sizeB, uint32_t dateB) const {
    int result = 0;
    switch (sortKey) {
    case SORT_SIZE: result = int32_t(sizeA - sizeB); break;
    case SORT_DATE: result = int32_t(dateA - dateB); break;
    case SORT_EXT: result = CompareExtensions(nameA, nameB, caseSensitive); break;
    default: break;
    }
    if (result == 0) result = CompareNames(nameA, nameB, caseSensitive);
    return reverse ? -result : result;
}
