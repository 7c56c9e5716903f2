// fuzz_objectname.cpp: multi-property names from scripts and map files.
// Input: the name as UTF-8, optionally followed by a NUL byte and a candidate text to match against.
#include "fuzzsupport.h"

#include "objectmap.h"

#include <QMap>

using namespace Vexil;
using Props = QMap<QString, PropertyValue>;

namespace {

bool sameProperties(const Props &a, const Props &b)
{
    if (a.size() != b.size())
        return false;
    for (auto it = a.constBegin(), jt = b.constBegin(); it != a.constEnd(); ++it, ++jt) {
        if (it.key() != jt.key() || it->value() != jt->value() || it->modifiers() != jt->modifiers()
            || it->type() != jt->type())
            return false;
    }
    return true;
}

bool hasAny(const QString &text, const char *chars)
{
    for (const char *c = chars; *c; ++c) {
        if (text.contains(QLatin1Char(*c)))
            return true;
    }
    return false;
}

void checkMatching(const Props &props, const QString &candidate)
{
    for (const PropertyValue &v : props) {
        v.matches(candidate);
        // An exact value always matches its own text.
        if (v.modifiers() == PropertyValue::Equals)
            FUZZ_CHECK(v.matches(v.value()));
    }
    // Without brackets and backslashes every wildcard character stands for itself or for what covers it.
    if (!hasAny(candidate, "[]\\"))
        FUZZ_CHECK(
            PropertyValue(candidate, PropertyValue::Wildcard, PropertyValue::PlainText).matches(candidate));
    PropertyValue(candidate, PropertyValue::RegularExpression, PropertyValue::PlainText).matches(candidate);
    FUZZ_CHECK(PropertyValue(candidate, PropertyValue::Equals, PropertyValue::PlainText).matches(candidate));
}

void checkObjectName(const QString &text, const Props &parsed, const QString &parseError)
{
    const ObjectName name(text);
    FUZZ_CHECK(name.qualifiedName() == text);
    if (text.isEmpty()) {
        FUZZ_CHECK(!name.isValid());
        return;
    }
    if (isMultiPropertyName(text)) {
        FUZZ_CHECK(sameProperties(name.properties(), parsed));
        FUZZ_CHECK(name.errorMessage() == parseError);
    } else if (text.startsWith(QLatin1Char('{')) || text.endsWith(QLatin1Char('}'))) {
        FUZZ_CHECK(!name.isValid());
    } else {
        FUZZ_CHECK(name.isValid() && name.properties().isEmpty() && !name.isMultiProperty());
    }
    FUZZ_CHECK(name == ObjectName(text));
    name.occurrenceValue();
    name.isEmpty();

    if (name.isValid() && name.isMultiProperty()) {
        const QString printed = qualifiedNameFromProperties(parsed);
        FUZZ_CHECK(ObjectName(parsed) == name);
        FUZZ_CHECK(ObjectName(printed) == name);
        FUZZ_CHECK(qualifiedNamesEqual(text, printed));

        // Editing leaves only the properties current; the text is reprinted from them.
        ObjectName edited(name);
        edited.setProperty(QStringLiteral("occurrence"),
                           PropertyValue(QStringLiteral("2"), PropertyValue::Equals,
                                         PropertyValue::PlainText));
        FUZZ_CHECK(edited.qualifiedName() == qualifiedNameFromProperties(edited.properties()));
        FUZZ_CHECK(edited.occurrenceValue() == 2);
        if (!parsed.isEmpty()) {
            edited.removeProperty(parsed.firstKey());
            FUZZ_CHECK(edited.qualifiedName() == qualifiedNameFromProperties(edited.properties()));
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    VexilFuzz::initialize();
    ObjectMap *map = ObjectMap::self();
    map->add(ObjectName(QStringLiteral("{type='QDialog' windowTitle='Save'}")),
             QStringLiteral(":Dialog_QDialog"));
    map->add(ObjectName(QStringLiteral("{text='OK' type='QPushButton' window=':Dialog_QDialog'}")),
             QStringLiteral(":Dialog.OK_QPushButton"));
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char *>(data), int(size));
    const int nul = bytes.indexOf('\0');
    const QString text = QString::fromUtf8(nul < 0 ? bytes : bytes.left(nul));
    const QString candidate = nul < 0 ? QString() : QString::fromUtf8(bytes.mid(nul + 1));

    QString error;
    const Props props = parseNameByProperties(text, &error);
    // Either the complete map and no message, or an empty map and a message ("{}" is the complete empty map).
    FUZZ_CHECK(props.isEmpty() || error.isEmpty());
    FUZZ_CHECK(parseNameByProperties(text, nullptr).size() == props.size());
    if (error.isEmpty()) {
        FUZZ_CHECK(isMultiPropertyName(text.trimmed()));
        // The printed form parses back to the same properties.
        const QString printed = qualifiedNameFromProperties(props);
        QString again;
        FUZZ_CHECK(sameProperties(parseNameByProperties(printed, &again), props));
        FUZZ_CHECK(again.isEmpty());
        FUZZ_CHECK(qualifiedNameFromProperties(parseNameByProperties(printed)) == printed);
    }

    checkObjectName(text, props, error);
    checkMatching(props, candidate.isNull() ? text : candidate);
    if (!candidate.isNull()) {
        // Equality of names does not depend on the order they are asked in.
        FUZZ_CHECK(qualifiedNamesEqual(text, candidate) == qualifiedNamesEqual(candidate, text));
        FUZZ_CHECK((ObjectName(text) == ObjectName(candidate))
                   == (ObjectName(candidate) == ObjectName(text)));
    }
    return 0;
}
