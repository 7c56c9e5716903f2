// objectname.h: object names: the multi-property syntax, property values and their printed form.
#ifndef VEXIL_OBJECTNAME_H
#define VEXIL_OBJECTNAME_H

#include "vexil_export.h"

#include <QMap>
#include <QRegExp>
#include <QSharedPointer>
#include <QString>

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
    const QString &qualifiedName() const { return (m_current & TextCurrent) ? m_name : printedName(); }
    /// The properties, parsed on first use; empty for plain names and for names that do not parse.
    const QMap<QString, PropertyValue> &properties() const;
    /// The value for \p key, or a default PropertyValue.
    PropertyValue property(const QString &key) const;
    /// Inserts or replaces; the text is reprinted in canonical form on next use.
    void setProperty(const QString &key, const PropertyValue &value);
    void removeProperty(const QString &key);

    /// Parses if needed; empty while the name is valid.
    QString errorMessage() const;
    /// The 0-based place in the text where parsing failed; -1 for a valid name or an error without a place.
    int errorOffset() const;
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
    friend bool propertyHash(const ObjectName &name, uint *hash);
    enum Form : quint32 { TextCurrent = 1, PropertiesCurrent = 2 };
    void ensureProperties() const;
    const QString &printedName() const;

    mutable QString m_name;
    mutable QMap<QString, PropertyValue> m_properties;
    mutable quint32 m_current;
    mutable QString m_error;
    mutable int m_errorOffset = -1;
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
/// \p errorOffset (when given) receives the 0-based place in \p name where parsing failed, or -1
/// when the failure has no place (not a multi-property name at all) or there was none.
VEXIL_EXPORT QMap<QString, PropertyValue> parseNameByProperties(const QString &name, QString *error = nullptr,
                                                                int *errorOffset = nullptr);
/// The canonical printed form: "{", key-operator-value entries in key order joined by one space, "}".
VEXIL_EXPORT QString qualifiedNameFromProperties(const QMap<QString, PropertyValue> &props);
/// Plain string equality unless both texts are multi-property names; those are compared by their
/// parsed keys, value texts and operators.
VEXIL_EXPORT bool qualifiedNamesEqual(const QString &a, const QString &b);

} // namespace Vexil

#endif // VEXIL_OBJECTNAME_H
