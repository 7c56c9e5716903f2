// fuzz_objectmap.cpp: object map files as users edit them.
// Input: the map text as UTF-8.
#include "fuzzsupport.h"

#include "objectmap.h"

using namespace Vexil;

namespace {

// How many entries of one input are looked up; enough to reach every code path, bounded for speed.
constexpr int MaxEntriesChecked = 16;

// symbolicName() without creating, written the slow way: walk the real names in key order.
QString referenceSymbolicName(ObjectMap &map, const QString &realName)
{
    const QString fixed = map.fixedName(realName, false);
    if (fixed.startsWith(QLatin1Char(':')))
        return fixed;
    const ObjectName name(fixed);
    const ObjectName old(map.convertToOldName(fixed));
    for (auto it = map.realNames().cbegin(); it != map.realNames().cend(); ++it) {
        if (it.key() == name || it.key() == old)
            return it.value();
    }
    return fixed;
}

void checkLookups(ObjectMap &map)
{
    const QString saved = map.toString();
    const QMap<QString, ObjectName> entries = map.symbolicNames();
    int checked = 0;
    for (auto it = entries.cbegin(); it != entries.cend() && checked < MaxEntriesChecked; ++it, ++checked) {
        const QString real = it->qualifiedName();
        if (it.key().startsWith(QLatin1Char(':')))
            FUZZ_CHECK(map.realName(it.key()) == real);
        map.printableName(real);
        map.convertToOldName(real);
        if (isMultiPropertyName(real))
            map.symbolFromMultiPropName(real);
        FUZZ_CHECK(map.symbolicName(real, false) == referenceSymbolicName(map, real));
        // Looking up without creating changes nothing.
        FUZZ_CHECK(!map.isModified());
        FUZZ_CHECK(map.toString() == saved);
    }

    // A created name is found again, and the real name it stands for is the fixed one it was made from.
    checked = 0;
    for (auto it = entries.cbegin(); it != entries.cend() && checked < MaxEntriesChecked; ++it, ++checked) {
        for (const PropertyValue &v : it->properties()) {
            if (v.type() != PropertyValue::NestedName)
                continue;
            const QString created = map.symbolicName(v.value(), true);
            FUZZ_CHECK(map.symbolicName(v.value(), false) == created);
            FUZZ_CHECK(map.symbolicName(v.value(), false) == referenceSymbolicName(map, v.value()));
        }
        const QString created = map.symbolicName(it->qualifiedName(), true);
        FUZZ_CHECK(map.symbolicName(it->qualifiedName(), false) == created);
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    VexilFuzz::initialize();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QString text = QString::fromUtf8(reinterpret_cast<const char *>(data), int(size));
    QString saved;
    {
        ObjectMap map(false);
        map.loadFromString(text);
        FUZZ_CHECK(!map.isModified());
        saved = map.toString();
        FUZZ_CHECK(map.parseSerializedMap(saved).size() == size_t(map.symbolicNames().size()));

        // Loading the same text again merges nothing new.
        map.loadFromString(saved);
        FUZZ_CHECK(map.toString() == saved);
        checkLookups(map);
    }
    {
        // The text form of a loaded map loads back to the same map.
        ObjectMap again(false);
        again.loadFromString(saved);
        FUZZ_CHECK(again.toString() == saved);
    }
    return 0;
}
