// objectmap.h: object names (multi-property syntax, property values) and the map of symbolic names.
#ifndef VEXIL_OBJECTMAP_H
#define VEXIL_OBJECTMAP_H

#include "vexil_export.h"

#include <QHash>
#include <QMap>
#include <QRegExp>
#include <QSharedPointer>
#include <QString>

#include <utility>
#include <vector>

namespace Vexil {

/// One value of a multi-property name: the text, the comparison operator and whether the text is a
/// quoted string or a nested name. Regular-expression and wildcard values carry their compiled pattern.
class VEXIL_EXPORT PropertyValue
{
public:
    // Fixed 32-bit types: values outside the named ones are valid (an unknown operator prints as nothing
    // and matches nothing) rather than undefined.
    enum Modifiers : qint32 { Equals = 0, RegularExpression = 1, Wildcard = 2 };
    enum Type : qint32 { PlainText = 0, NestedName = 1 };

    /// Empty text, Equals, PlainText: what ObjectName::property() gives for a missing key.
    PropertyValue();
    /// Compiles \p value as a case-sensitive regular expression for RegularExpression (whatever the
    /// type), or its wildcard translation for Wildcard.
    PropertyValue(const QString &value, Modifiers modifiers, Type type);

    /// The text as written between the quotes (escapes removed), or the nested name with its braces.
    const QString &value() const { return m_value; }
    Modifiers modifiers() const { return m_modifiers; }
    Type type() const { return m_type; }

    /// Patterns are searched anywhere in \p candidate (unanchored); Equals compares exactly and
    /// resolves nested and symbolic names through ObjectMap::self().
    bool matches(const QString &candidate) const;

private:
    // Shared between copies: QRegExp copies recompile, and names are copied far more often than matched.
    QSharedPointer<QRegExp> m_pattern;
    QString m_value;
    Modifiers m_modifiers;
    Type m_type;
};

} // namespace Vexil
Q_DECLARE_TYPEINFO(Vexil::PropertyValue, Q_MOVABLE_TYPE);
namespace Vexil {

/// A name in two forms, the text and the property map, converted into each other on first use.
/// Parse errors are kept in the name (errorMessage()); nothing here throws.
class VEXIL_EXPORT ObjectName
{
public:
    /// An empty, valid name.
    ObjectName();
    /// The name as written; an empty \p text is invalid ("Empty string is not a valid object name.").
    ObjectName(const QString &text);
    /// A multi-property name; its text is printed in canonical form when first asked for.
    ObjectName(const QMap<QString, PropertyValue> &properties);

    /// The text: verbatim when built from text, else the canonical printed form.
    const QString &qualifiedName() const
    {
        return (m_current & TextCurrent) ? m_name : printedName();
    }
    /// The properties, parsed on first use; empty for plain names and for names that do not parse.
    const QMap<QString, PropertyValue> &properties() const;
    /// The value for \p key, or a default PropertyValue.
    PropertyValue property(const QString &key) const;
    /// Inserts or replaces; the text is reprinted in canonical form on next use.
    void setProperty(const QString &key, const PropertyValue &value);
    void removeProperty(const QString &key);

    /// Parses if needed; empty while the name is valid.
    QString errorMessage() const;
    bool isValid() const;
    bool isMultiProperty() const;
    bool isEmpty() const;
    /// The "occurrence" property: 1 when absent or empty, the number when it is a positive integer, else -1.
    int occurrenceValue() const;

    /// Equal texts, or two multi-property names with the same keys, value texts and operators.
    bool operator==(const ObjectName &other) const;
    bool operator!=(const ObjectName &other) const { return !(*this == other); }
    /// Orders by text; this is the key order of ObjectMap's real-to-symbolic map.
    bool operator<(const ObjectName &other) const { return qualifiedName() < other.qualifiedName(); }

private:
    enum Form : quint32 { TextCurrent = 1, PropertiesCurrent = 2 };
    void ensureProperties() const;
    const QString &printedName() const;

    mutable QString m_name;
    mutable QMap<QString, PropertyValue> m_properties;
    mutable quint32 m_current;
    mutable QString m_error;
};

} // namespace Vexil
Q_DECLARE_TYPEINFO(Vexil::ObjectName, Q_MOVABLE_TYPE);
namespace Vexil {

/// True when \p s starts with "{" and ends with "}" (no trimming).
VEXIL_EXPORT bool isMultiPropertyName(const QString &s);

/// Nested names deeper than this are rejected with a parse error rather than followed; real names
/// nest a handful of levels.
constexpr int MaxObjectNameNesting = 256;

/// Parses a multi-property name (surrounding white space is ignored). On failure returns an empty
/// map and, when \p error is non-null, stores the reason there; a partial map is never returned.
VEXIL_EXPORT QMap<QString, PropertyValue> parseNameByProperties(const QString &name,
                                                                QString *error = nullptr);
/// The canonical printed form: "{", key-operator-value entries in key order joined by one space, "}".
VEXIL_EXPORT QString qualifiedNameFromProperties(const QMap<QString, PropertyValue> &props);
/// Plain string equality unless both texts are multi-property names; those are compared by their
/// parsed keys, value texts and operators.
VEXIL_EXPORT bool qualifiedNamesEqual(const QString &a, const QString &b);

/// Symbolic names (beginning with ":") and the real names they stand for, in both directions, with
/// the line-oriented UTF-8 file form. The most recently constructed map is the current one (self()).
class VEXIL_EXPORT ObjectMap
{
public:
    /// Empty and unmodified; becomes the current map. \p flag is kept for callers and never consulted here.
    explicit ObjectMap(bool flag = false);
    ~ObjectMap();

    /// The current map, or null when the last current map was destroyed.
    static ObjectMap *self();
    static bool isMultiPropertyName(const QString &s);

    bool flag() const { return m_flag; }
    /// Set by add(), setSymbolicNames() and symbolicName() when it creates an entry; cleared by a save.
    bool isModified() const { return m_modified; }

    /// The stored name for a known symbolic \p name; a symbolic name not in the map loses its ":";
    /// anything else is taken as it is.
    ObjectName objectName(const QString &name) const;
    QString realName(const QString &name) const;
    /// True when \p symbolic is a key of the symbolic-to-real map.
    bool containsSymbolicName(const QString &symbolic) const { return m_symbolicToReal.contains(symbolic); }
    const QMap<QString, ObjectName> &symbolicNames() const { return m_symbolicToReal; }
    const QMap<ObjectName, QString> &realNames() const { return m_realToSymbolic; }

    void add(const ObjectName &real, const QString &symbolic);
    /// Replaces both directions by \p map; the last symbolic name in key order wins a shared real name.
    void setSymbolicNames(const QMap<QString, ObjectName> &map);
    /// Empties both directions; the flags stay.
    void clear();

    /// The symbolic name stored for \p realName; without one, \p realName normalised (or, with
    /// \p create, a new symbolic name derived from its identifying properties and added to the map).
    QString symbolicName(const QString &realName, bool create);
    /// \p realName reprinted canonically with nested names replaced by their symbolic names.
    QString fixedName(const QString &realName, bool create);
    /// The stored symbolic name, or a readable form of \p realName; never adds entries.
    QString printableName(const QString &realName) const;
    /// The older flat form: window, container and buddy references spelled out as properties.
    QString convertToOldName(const QString &realName) const;
    /// Readable base of a symbolic name: window, container and object texts joined by ".", "_", type.
    QString symbolFromMultiPropName(const QString &realName) const;
    /// ":" and symbolFromMultiPropName(), with "_2", "_3", ... appended while the name is taken.
    QString multiPropNameToSymbolic(const QString &realName) const;

    /// One line per symbolic name in ascending order: symbolic, tab, real name, line feed (both escaped).
    QString toString() const;
    /// Merges the entries of \p text (see parseSerializedMap) without setting the modified flag.
    void loadFromString(const QString &text);
    /// Replaces the map by the UTF-8 file at \p path; false (map unchanged) if it cannot be opened.
    bool loadFromFile(const QString &path);
    /// Writes the map when modified, through a temporary file renamed into place; false on failure.
    bool saveToFile(const QString &path);

    static QString escapeForSerialize(QString text);
    static QString unescapeFromSerialize(QString text);
    /// The (symbolic, real) pairs of \p text in line order; comments and lines without a tab are skipped.
    std::vector<std::pair<QString, ObjectName>> parseSerializedMap(const QString &text) const;

private:
    Q_DISABLE_COPY(ObjectMap)

    using RealIterator = QMap<ObjectName, QString>::const_iterator;

    void insertEntry(const ObjectName &real, const QString &symbolic);
    void invalidateIndex();
    void ensureIndex() const;
    void indexKey(RealIterator key) const;
    RealIterator findStored(const ObjectName &probe) const;
    QString lookupSymbolic(const QString &name, bool *found) const;
    QString uniqueSymbolicName(const QString &base) const;

    QMap<ObjectName, QString> m_realToSymbolic;
    QMap<QString, ObjectName> m_symbolicToReal;
    bool m_flag;
    bool m_modified;

    // Lookups by text and by properties go through hashes instead of walking or descending the map:
    // the text of every key, and a hash of the properties (keys, value texts, operators) of every
    // multi-property key, lead to its node. Built on first use and kept up to date by inserts (keys
    // are only removed all at once). The nodes stay put while the map is not copied; a map shared
    // with a copy detaches on the next insert, so the index is dropped then.
    mutable QHash<QString, RealIterator> m_textIndex;
    mutable QMultiHash<uint, RealIterator> m_propertyIndex;
    mutable bool m_indexValid;
};

} // namespace Vexil

#endif // VEXIL_OBJECTMAP_H
