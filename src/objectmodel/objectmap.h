// objectmap.h: the map of symbolic names and the real names they stand for, with its file form.
#ifndef VEXIL_OBJECTMAP_H
#define VEXIL_OBJECTMAP_H

#include "objectname.h"
#include "vexil_export.h"

#include <QHash>
#include <QMap>
#include <QString>

#include <utility>
#include <vector>

namespace Vexil {

/// A map text line by line as the loader reads it, with 1-based line numbers: its entries in line order,
/// and the lines it skips.
struct ObjectMapText
{
    struct Entry
    {
        int line;
        QString text; // the line as written, escapes and all
        int tab; // index of the first tab in text
        QString symbolic;
        ObjectName real; // invalid when it does not parse: errorMessage(), errorOffset()
    };
    std::vector<Entry> entries;
    std::vector<int> comments; // lines starting with "#"
    std::vector<int> linesWithoutTab;
};

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
    int size() const { return m_symbolicToReal.size(); }
    /// Both directions in key order. Made on first request (a sort) and kept current from then on.
    const QMap<QString, ObjectName> &symbolicNames() const;
    const QMap<ObjectName, QString> &realNames() const;

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
    /// The same reading with line numbers and the skipped lines, for tools that report on a map.
    static ObjectMapText readMapText(const QString &text);
    /// readMapText() of the file at \p path read as loadFromFile() reads it; false (and the reason in
    /// \p error when given) if it cannot be opened.
    static bool readMapFile(const QString &path, ObjectMapText *result, QString *error = nullptr);

private:
    Q_DISABLE_COPY(ObjectMap)

    struct RealEntry
    {
        ObjectName name; // as first added
        QString symbolic; // as last added
    };
    void insertEntry(const ObjectName &real, const QString &symbolic);
    void ensureIndex() const;
    void indexKey(const QString &text, const ObjectName &name) const;
    const RealEntry *findStored(const ObjectName &probe) const;
    QString lookupSymbolic(const QString &name, bool *found) const;
    QString uniqueSymbolicName(const QString &base) const;

    // Both directions are hashes, so that loading a map is one pass over its lines; the real names are
    // keyed by their text. The ordered views the accessors return are made when first asked for.
    QHash<QString, ObjectName> m_symbolicToReal;
    QHash<QString, RealEntry> m_realToSymbolic;
    bool m_flag;
    bool m_modified;
    mutable QMap<QString, ObjectName> m_symbolicOrdered;
    mutable QMap<ObjectName, QString> m_realOrdered;
    mutable bool m_symbolicOrderedValid = false;
    mutable bool m_realOrderedValid = false;
    // Lookups by properties (keys, value texts and operators, in any order and spacing) go through a
    // hash of the properties of every multi-property key, leading to its text. Built on first use and
    // kept up to date by inserts (keys are only removed all at once).
    mutable QMultiHash<uint, QString> m_propertyIndex;
    mutable bool m_indexValid;
};

} // namespace Vexil

#endif // VEXIL_OBJECTMAP_H
