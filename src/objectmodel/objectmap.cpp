// objectmap.cpp: symbolic names, their derivation from identifying properties, and the map file.
#include "objectmap.h"

#include "diagnostics.h"
#include "objectname_p.h"

#include <QFile>
#include <QSaveFile>
#include <QStringList>
#include <QTextStream>

#include <cstdio>
#include <algorithm>
#include <initializer_list>

namespace Vexil {

namespace {

ObjectMap *s_current = nullptr;

const QStringList &windowTable()
{
    static const QStringList table { QStringLiteral("window") };
    return table;
}

const QStringList &containerTable()
{
    static const QStringList table { QStringLiteral("container"), QStringLiteral("form") };
    return table;
}

const QStringList &objectTable()
{
    static const QStringList table { QStringLiteral("innerText"),   QStringLiteral("simplifiedInnerText"),
                                     QStringLiteral("text"),        QStringLiteral("title"),
                                     QStringLiteral("windowTitle"), QStringLiteral("caption"),
                                     QStringLiteral("label"),       QStringLiteral("name"),
                                     QStringLiteral("objectName"),  QStringLiteral("img_name"),
                                     QStringLiteral("img_alt"),     QStringLiteral("id"),
                                     QStringLiteral("img_id"),      QStringLiteral("value"),
                                     QStringLiteral("buddy"),       QStringLiteral("parentWidget"),
                                     QStringLiteral("leftWidget"),  QStringLiteral("aboveWidget"),
                                     QStringLiteral("leftObject"),  QStringLiteral("aboveObject"),
                                     QStringLiteral("stringValue"), QStringLiteral("className"),
                                     QStringLiteral("row"),         QStringLiteral("currentTitle"),
                                     QStringLiteral("placeholder"), QStringLiteral("resourceName"),
                                     QStringLiteral("toolTip") };
    return table;
}

const QStringList &typeTable()
{
    static const QStringList table { QStringLiteral("type"), QStringLiteral("tagName"),
                                     QStringLiteral("basetype"), QStringLiteral("styletype") };
    return table;
}

bool isReferenceProperty(const QString &name)
{
    static const QStringList table { QStringLiteral("buddy"),       QStringLiteral("parentWidget"),
                                     QStringLiteral("container"),   QStringLiteral("leftWidget"),
                                     QStringLiteral("aboveWidget"), QStringLiteral("window"),
                                     QStringLiteral("leftLabel"),   QStringLiteral("aboveLabel"),
                                     QStringLiteral("rightLabel"),  QStringLiteral("tableView"),
                                     QStringLiteral("leftObject"),  QStringLiteral("aboveObject") };
    return table.contains(name);
}

bool isHelperWidgetName(const QString &name)
{
    static const QStringList table { QStringLiteral("qt_viewport"), QStringLiteral("tab control"),
                                     QStringLiteral("qt_clipped_viewport"), QStringLiteral("qt_spinbox_edit"),
                                     QStringLiteral("automatic menu bar") };
    return table.contains(name);
}

// References are followed through the map, and a map file may make them circular (a buddy whose
// buddy is the first object); past this depth the reference yields nothing.
QString getIdentifyingProperty(const ObjectMap &map, const QMap<QString, PropertyValue> &props,
                               const QStringList &table, int depth = 0)
{
    for (const QString &name : table) {
        const auto it = props.constFind(name);
        if (it == props.cend())
            continue;
        const QString &value = it->value();
        if (isReferenceProperty(name)) {
            if (depth >= MaxObjectNameNesting)
                return QString();
            const QMap<QString, PropertyValue> nested = parseNameByProperties(map.realName(value), nullptr);
            return getIdentifyingProperty(map, nested, objectTable(), depth + 1);
        }
        if (name == QLatin1String("name") && (value == QLatin1String("unnamed") || isHelperWidgetName(value)))
            continue;
        if (value.isEmpty())
            continue;
        if (name == QLatin1String("row")) {
            const auto column = props.constFind(QStringLiteral("column"));
            if (column == props.cend())
                continue;
            return value + QLatin1Char('_') + column->value();
        }
        return value;
    }
    return QString();
}

// Equal for every pair of names that ObjectName::operator== finds equal by properties.
QString withoutFormatCharacters(const QString &text)
{
    QString out;
    out.reserve(text.size());
    const int len = text.size();
    for (int i = 0; i < len; ++i) {
        const QChar c = text.at(i);
        uint ucs4 = c.unicode();
        int width = 1;
        if (c.isHighSurrogate() && i + 1 < len && text.at(i + 1).isLowSurrogate()) {
            ucs4 = QChar::surrogateToUcs4(c, text.at(i + 1));
            width = 2;
        }
        if (QChar::category(ucs4) != QChar::Other_Format)
            out.append(text.constData() + i, width);
        i += width - 1;
    }
    return out;
}

// Map files written before multi-property names kept a backslash before any character; names now
// escape only ".", "[" and the backslash itself, so a lone backslash before anything else is doubled.
QString fromOldHierarchicalEscaping(const QString &name)
{
    if (!name.contains(QLatin1Char('\\')))
        return name;
    QString out;
    out.reserve(name.size() + 8);
    bool escaped = false;
    for (const QChar c : name) {
        if (c == QLatin1Char('\\')) {
            out += c;
            escaped = !escaped;
            continue;
        }
        if (c != QLatin1Char('[') && escaped && c != QLatin1Char('.'))
            out += QLatin1Char('\\');
        out += c;
        escaped = false;
    }
    return out;
}

void expandReference(const QHash<QString, ObjectName> &symbolicToReal, QMap<QString, PropertyValue> &props,
                     const QString &reference,
                     std::initializer_list<std::pair<const char *, const char *>> renames)
{
    const auto ref = props.find(reference);
    if (ref == props.end())
        return;
    const auto stored = symbolicToReal.constFind(ref->value());
    props.erase(ref);
    if (stored == symbolicToReal.cend())
        return;
    const QMap<QString, PropertyValue> &real = stored->properties();
    for (const auto &rename : renames) {
        const auto it = real.constFind(QLatin1String(rename.first));
        if (it == real.cend())
            continue;
        if (it.key() == QLatin1String("name") && it->value() == QLatin1String("unnamed"))
            continue;
        props.insert(QLatin1String(rename.second),
                     PropertyValue(it->value(), PropertyValue::Equals, PropertyValue::PlainText));
    }
}

} // namespace

ObjectMap::ObjectMap(bool flag)
    : m_flag(flag)
    , m_modified(false)
    , m_indexValid(false)
{
    s_current = this;
}

ObjectMap::~ObjectMap()
{
    if (s_current == this)
        s_current = nullptr;
}

ObjectMap *ObjectMap::self()
{
    return s_current;
}

bool ObjectMap::isMultiPropertyName(const QString &s)
{
    return Vexil::isMultiPropertyName(s);
}

ObjectName ObjectMap::objectName(const QString &name) const
{
    if (name.isEmpty() || name.at(0) != QLatin1Char(':'))
        return ObjectName(name);
    const auto it = m_symbolicToReal.constFind(name);
    if (it != m_symbolicToReal.cend())
        return it.value();
    return ObjectName(name.mid(1));
}

QString ObjectMap::realName(const QString &name) const
{
    return objectName(name).qualifiedName();
}

void ObjectMap::insertEntry(const ObjectName &real, const QString &symbolic)
{
    m_symbolicToReal.insert(symbolic, real);
    const QString &text = real.qualifiedName();
    const auto it = m_realToSymbolic.find(text);
    if (it != m_realToSymbolic.end()) {
        it->symbolic = symbolic;
    } else {
        m_realToSymbolic.insert(text, RealEntry { real, symbolic });
        if (m_indexValid)
            indexKey(text, real);
    }
    // Once handed out, the ordered views stay current like the maps they show.
    if (m_symbolicOrderedValid)
        m_symbolicOrdered.insert(symbolic, real);
    if (m_realOrderedValid)
        m_realOrdered.insert(real, symbolic);
}

void ObjectMap::add(const ObjectName &real, const QString &symbolic)
{
    m_modified = true;
    insertEntry(real, symbolic);
}

void ObjectMap::setSymbolicNames(const QMap<QString, ObjectName> &map)
{
    m_modified = true;
    clear();
    m_symbolicToReal.reserve(map.size());
    m_realToSymbolic.reserve(map.size());
    for (auto it = map.cbegin(); it != map.cend(); ++it)
        insertEntry(it.value(), it.key());
}

void ObjectMap::clear()
{
    m_symbolicToReal.clear();
    m_realToSymbolic.clear();
    m_propertyIndex.clear();
    m_indexValid = false;
    m_symbolicOrdered.clear();
    m_realOrdered.clear();
}

namespace {

// The keys of \p hash in ascending order, inserted at the end of \p ordered one after the other (QMap
// takes the end as a hint: no descent of the tree).
template <class Hash, class Map, class Insert>
void buildOrdered(const Hash &hash, Map *ordered, Insert insert)
{
    std::vector<typename Hash::const_iterator> items;
    items.reserve(size_t(hash.size()));
    for (auto it = hash.cbegin(); it != hash.cend(); ++it)
        items.push_back(it);
    std::sort(items.begin(), items.end(), [](const auto &a, const auto &b) { return a.key() < b.key(); });
    ordered->clear();
    for (const auto &it : items)
        insert(ordered, it);
}

} // namespace

const QMap<QString, ObjectName> &ObjectMap::symbolicNames() const
{
    if (!m_symbolicOrderedValid) {
        buildOrdered(m_symbolicToReal, &m_symbolicOrdered,
                     [](auto *map, const auto &it) { map->insert(map->cend(), it.key(), it.value()); });
        m_symbolicOrderedValid = true;
    }
    return m_symbolicOrdered;
}

const QMap<ObjectName, QString> &ObjectMap::realNames() const
{
    if (!m_realOrderedValid) {
        buildOrdered(m_realToSymbolic, &m_realOrdered,
                     [](auto *map, const auto &it) { map->insert(map->cend(), it->name, it->symbolic); });
        m_realOrderedValid = true;
    }
    return m_realOrdered;
}

void ObjectMap::indexKey(const QString &text, const ObjectName &name) const
{
    uint h = 0;
    if (propertyHash(name, &h))
        m_propertyIndex.insert(h, text);
}

void ObjectMap::ensureIndex() const
{
    if (m_indexValid)
        return;
    m_propertyIndex.clear();
    m_propertyIndex.reserve(m_realToSymbolic.size());
    for (auto it = m_realToSymbolic.cbegin(); it != m_realToSymbolic.cend(); ++it)
        indexKey(it.key(), it->name);
    m_indexValid = true;
}

// The stored entry equal to probe that comes first in key order: the one with the same text, or one
// equal by properties, whichever text sorts first.
const ObjectMap::RealEntry *ObjectMap::findStored(const ObjectName &probe) const
{
    const auto exact = m_realToSymbolic.constFind(probe.qualifiedName());
    const RealEntry *best = exact != m_realToSymbolic.cend() ? &*exact : nullptr;
    uint h = 0;
    if (!propertyHash(probe, &h))
        return best;
    ensureIndex();
    for (auto it = m_propertyIndex.constFind(h); it != m_propertyIndex.cend() && it.key() == h; ++it) {
        if (best && !(*it < best->name.qualifiedName()))
            continue;
        const RealEntry &candidate = *m_realToSymbolic.constFind(*it);
        if (candidate.name == probe)
            best = &candidate;
    }
    return best;
}

QString ObjectMap::lookupSymbolic(const QString &name, bool *found) const
{
    const RealEntry *best = findStored(ObjectName(name));
    const QString oldName = convertToOldName(name);
    if (oldName != name) {
        const RealEntry *old = findStored(ObjectName(oldName));
        if (old && (!best || old->name.qualifiedName() < best->name.qualifiedName()))
            best = old;
    }
    *found = best != nullptr;
    return best ? best->symbolic : QString();
}

QString ObjectMap::uniqueSymbolicName(const QString &base) const
{
    QString name = base;
    for (int n = 2; m_symbolicToReal.contains(name); ++n)
        name = base + QLatin1Char('_') + QString::number(n);
    return name;
}

QString ObjectMap::symbolicName(const QString &realName, bool create)
{
    const QString fixed = fixedName(realName, create);
    if (fixed.startsWith(QLatin1Char(':')))
        return fixed;
    bool found = false;
    const QString stored = lookupSymbolic(fixed, &found);
    if (found)
        return stored;
    if (!create)
        return fixed;

    // Format characters are invisible in a script; they are removed before checking the name is free,
    // so stripping them can never make the new name replace an existing entry.
    const QString base = isMultiPropertyName(fixed) ? QLatin1Char(':') + symbolFromMultiPropName(fixed)
                                                    : QLatin1Char(':') + fixed;
    const QString symbolic = uniqueSymbolicName(withoutFormatCharacters(base));
    add(ObjectName(fixed), symbolic);
    return symbolic;
}

QString ObjectMap::fixedName(const QString &realName, bool create)
{
    if (!isMultiPropertyName(realName))
        return realName;
    QString error;
    QMap<QString, PropertyValue> props = parseNameByProperties(realName, &error);
    if (!error.isEmpty())
        return realName; // kept as written, like any unparsable name the map stores
    for (auto it = props.begin(); it != props.end(); ++it) {
        if (it->type() == PropertyValue::NestedName)
            *it = PropertyValue(symbolicName(it->value(), create), it->modifiers(), PropertyValue::PlainText);
    }
    return qualifiedNameFromProperties(props);
}

QString ObjectMap::printableName(const QString &realName) const
{
    QString printable = realName;
    if (isMultiPropertyName(realName)) {
        QString error;
        QMap<QString, PropertyValue> props = parseNameByProperties(realName, &error);
        if (error.isEmpty()) {
            for (auto it = props.begin(); it != props.end(); ++it) {
                if (it->type() == PropertyValue::NestedName) {
                    const QString nested = printableName(it->value());
                    *it = PropertyValue(nested, it->modifiers(), PropertyValue::NestedName);
                }
            }
            printable = qualifiedNameFromProperties(props);
        }
    }
    if (printable.startsWith(QLatin1Char(':')))
        return printable;
    bool found = false;
    const QString stored = lookupSymbolic(printable, &found);
    return found ? stored : printable;
}

QString ObjectMap::convertToOldName(const QString &realName) const
{
    if (!isMultiPropertyName(realName))
        return realName;
    QString error;
    QMap<QString, PropertyValue> props = parseNameByProperties(realName, &error);
    if (!error.isEmpty())
        return realName;

    const auto name = props.find(QStringLiteral("name"));
    if (name != props.end() && name->value() == QLatin1String("unnamed"))
        props.erase(name);
    expandReference(m_symbolicToReal, props, QStringLiteral("window"),
                    { { "name", "windowName" },
                      { "type", "windowType" },
                      { "occurrence", "windowOccurrence" },
                      { "caption", "windowCaption" } });
    expandReference(m_symbolicToReal, props, QStringLiteral("container"),
                    { { "name", "containerName" },
                      { "type", "containerType" },
                      { "text", "containerLabel" } });
    expandReference(m_symbolicToReal, props, QStringLiteral("buddy"), { { "text", "buddyText" } });

    // Deliberately not the canonical form: every operator is "=" and only quotes are escaped.
    QString text = QStringLiteral("{");
    for (auto it = props.cbegin(); it != props.cend(); ++it) {
        if (it != props.cbegin())
            text += QLatin1Char(' ');
        text += it.key();
        text += QLatin1String("='");
        text += QString(it->value()).replace(QLatin1Char('\''), QLatin1String("\\'"));
        text += QLatin1Char('\'');
    }
    text += QLatin1Char('}');
    return text;
}

QString ObjectMap::symbolFromMultiPropName(const QString &realName) const
{
    // References resolve through the current map, falling back to this one when there is none.
    const ObjectMap &map = s_current ? *s_current : *this;
    const QMap<QString, PropertyValue> props = parseNameByProperties(realName, nullptr);
    QString text;
    for (const QStringList *table : { &windowTable(), &containerTable(), &objectTable() }) {
        const QString part = getIdentifyingProperty(map, props, *table);
        if (part.isEmpty())
            continue;
        if (!text.isEmpty())
            text += QLatin1Char('.');
        text += part;
    }
    QString type = getIdentifyingProperty(map, props, typeTable());
    const int dot = type.lastIndexOf(QLatin1Char('.'));
    if (dot >= 0)
        type = type.mid(dot + 1);
    return text + QLatin1Char('_') + type;
}

QString ObjectMap::multiPropNameToSymbolic(const QString &realName) const
{
    return uniqueSymbolicName(QLatin1Char(':') + symbolFromMultiPropName(realName));
}

QString ObjectMap::escapeForSerialize(QString text)
{
    // One pass with the result of replacing backslash, line feed, carriage return and tab in turn.
    int i = 0;
    const int len = text.size();
    while (i < len) {
        const ushort u = text.at(i).unicode();
        if (u == '\\' || u == '\n' || u == '\r' || u == '\t')
            break;
        ++i;
    }
    if (i == len)
        return text;
    QString out;
    out.reserve(len + 8);
    out.append(text.constData(), i);
    for (; i < len; ++i) {
        const QChar c = text.at(i);
        switch (c.unicode()) {
        case '\\':
            out += QLatin1String("\\\\");
            break;
        case '\n':
            out += QLatin1String("\\n");
            break;
        case '\r':
            out += QLatin1String("\\r");
            break;
        case '\t':
            out += QLatin1String("\\t");
            break;
        default:
            out += c;
        }
    }
    return out;
}

QString ObjectMap::unescapeFromSerialize(QString text)
{
    int i = text.indexOf(QLatin1Char('\\'));
    if (i < 0)
        return text;
    const int len = text.size();
    QString out;
    out.reserve(len);
    out.append(text.constData(), i);
    for (; i < len; ++i) {
        const QChar c = text.at(i);
        if (c != QLatin1Char('\\')) {
            out += c;
            continue;
        }
        if (i + 1 >= len)
            break; // a trailing backslash is dropped
        const QChar next = text.at(++i);
        switch (next.unicode()) {
        case 'n':
            out += QLatin1Char('\n');
            break;
        case 'r':
            out += QLatin1Char('\r');
            break;
        case 't':
            out += QLatin1Char('\t');
            break;
        case '\\':
            out += QLatin1Char('\\');
            break;
        default:
            out += c;
            out += next;
        }
    }
    return out;
}

QString ObjectMap::toString() const
{
    QString text;
    int estimate = 0;
    const QMap<QString, ObjectName> &ordered = symbolicNames();
    for (auto it = ordered.cbegin(); it != ordered.cend(); ++it)
        estimate += it.key().size() + it->qualifiedName().size() + 2;
    text.reserve(estimate + 64);
    for (auto it = ordered.cbegin(); it != ordered.cend(); ++it) {
        text += escapeForSerialize(it.key());
        text += QLatin1Char('\t');
        text += escapeForSerialize(it->qualifiedName());
        text += QLatin1Char('\n');
    }
    return text;
}

namespace {

// The kinds of line a map text has, and for an entry its two names, unescaped.
enum class MapLine { Skipped, Comment, NoTab, Entry };

MapLine readMapLine(const QStringRef &line, QString *symbolic, QString *real)
{
    if (line.isEmpty())
        return MapLine::Skipped;
    if (line.at(0) == QLatin1Char('#'))
        return MapLine::Comment;
    const int tab = line.indexOf(QLatin1Char('\t'));
    if (tab < 0)
        return MapLine::NoTab;
    *symbolic = ObjectMap::unescapeFromSerialize(line.left(tab).toString());
    *real = ObjectMap::unescapeFromSerialize(line.mid(tab + 1).toString());
    if (!isMultiPropertyName(*real))
        *real = fromOldHierarchicalEscaping(*real);
    return MapLine::Entry;
}

// Calls \p each with every line of \p text (split at line feeds) and its 1-based number.
template <class Each>
void forEachLine(const QString &text, Each each)
{
    const int len = text.size();
    int start = 0;
    int number = 0;
    while (start < len) {
        int end = text.indexOf(QLatin1Char('\n'), start);
        if (end < 0)
            end = len;
        each(text.midRef(start, end - start), ++number);
        start = end + 1;
    }
}

// The file as the loader reads it: text mode, UTF-8.
bool readTextFile(const QString &path, QString *text, QString *error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) {
        if (error)
            *error = file.errorString();
        return false;
    }
    QTextStream stream(&file);
    stream.setCodec("UTF-8");
    *text = stream.readAll();
    return true;
}

} // namespace

std::vector<std::pair<QString, ObjectName>> ObjectMap::parseSerializedMap(const QString &text) const
{
    std::vector<std::pair<QString, ObjectName>> entries;
    entries.reserve(size_t(text.count(QLatin1Char('\n'))) + 1);
    QString symbolic, real;
    forEachLine(text, [&](const QStringRef &line, int) {
        if (readMapLine(line, &symbolic, &real) == MapLine::Entry)
            entries.emplace_back(symbolic, ObjectName(real));
    });
    return entries;
}

ObjectMapText ObjectMap::readMapText(const QString &text)
{
    ObjectMapText result;
    QString symbolic, real;
    forEachLine(text, [&](const QStringRef &line, int number) {
        switch (readMapLine(line, &symbolic, &real)) {
        case MapLine::Skipped:
            break;
        case MapLine::Comment:
            result.comments.push_back(number);
            break;
        case MapLine::NoTab:
            result.linesWithoutTab.push_back(number);
            break;
        case MapLine::Entry:
            result.entries.push_back(ObjectMapText::Entry {
                number, line.toString(), line.indexOf(QLatin1Char('\t')), symbolic, ObjectName(real) });
            break;
        }
    });
    return result;
}

bool ObjectMap::readMapFile(const QString &path, ObjectMapText *result, QString *error)
{
    QString text;
    if (!readTextFile(path, &text, error))
        return false;
    *result = readMapText(text);
    return true;
}

void ObjectMap::loadFromString(const QString &text)
{
    const auto entries = parseSerializedMap(text);
    m_symbolicToReal.reserve(m_symbolicToReal.size() + int(entries.size()));
    m_realToSymbolic.reserve(m_realToSymbolic.size() + int(entries.size()));
    for (const auto &entry : entries)
        insertEntry(entry.second, entry.first);
}

bool ObjectMap::loadFromFile(const QString &path)
{
    QString text;
    if (!readTextFile(path, &text, nullptr))
        return false;
    clear();
    loadFromString(text);
    return true;
}

bool ObjectMap::saveToFile(const QString &path)
{
    if (!m_modified)
        return true;
    // The new text goes to a temporary file that replaces the old map only once fully written.
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Text)) {
        diagnostic(QStringLiteral("ObjectMap::save() failed when opening '%1'").arg(path));
        return false;
    }
    const QByteArray data = toString().toUtf8();
    if (file.write(data) != data.size() || !file.commit()) {
        diagnostic(QStringLiteral("ObjectMap::save() failed when writing '%1'").arg(path));
        return false;
    }
    m_modified = false;
    return true;
}

} // namespace Vexil
