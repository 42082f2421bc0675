#include <tarnwick/tarnwick_utils.h>

// A program that only checks a path does not compile QVariant, QList<QVariant> and QMap for it. Compiled without
// precompiled headers, which contain them.

template <class T>
concept Complete = requires { sizeof(T); };

static_assert(!Complete<QVariant>);
static_assert(!Complete<QVariantMap>);
static_assert(Complete<QString>);
