// objectlookup.cpp: turning a script's object name into a live object, with the composed "not found" texts.
#include "inspector.h"

#include "delegate.h"
#include "objectmap.h"

namespace Vexil {

Object::Ptr Inspector::findObject(const QString &name)
{
    if (name.isEmpty()) {
        setError(QStringLiteral("Empty Object Name passed to findObject!"));
        return Object::Ptr();
    }
    QString working = name;
    if (m_impl)
        return m_impl->findObject(working);
    return findObjectLocal(name);
}

Object::Ptr Inspector::findObjectLocal(const QString &name)
{
    setupPropertyDelegate();
    if (!m_topLevel)
        return Object::Ptr();

    // The cache is keyed by the name as given, so it can answer before the (side-effect free) symbolic
    // resolution, which costs a map search for symbolic names.
    // An object the application destroyed since is not handed out again: the name may find its successor.
    if (lookupCacheEnabled && name == m_cachedName && m_cachedObject && !m_cachedObject->isInvalidated())
        return m_cachedObject;

    // Symbolic names go through the object map; without one, a leading ":" is simply dropped.
    QString working = name;
    if (ObjectMap *map = ObjectMap::self())
        working = map->realName(working);
    else if (working.startsWith(QLatin1Char(':')))
        working.remove(0, 1);

    // "{...}.path": a multi-property prefix followed by a dotted path, when no "}" follows the split point.
    const int p = working.indexOf(QStringLiteral("}."));
    const bool prefixed = working.length() >= 3 && working.startsWith(QLatin1Char('{')) && p >= 0
        && working.indexOf(QLatin1Char('}'), p + 2) < 0;

    const ObjectName parsed(working);
    if (!prefixed && !parsed.isValid()) {
        setError(QStringLiteral("Cannot find object with invalid object name: ") + parsed.errorMessage());
        return Object::Ptr();
    }

    // Every delegate is asked: whether one overrides the lookup cannot be seen the same way on every
    // compiler, and the default answers null at the cost of one call.
    for (ObjectHierarchyDelegate *d : *m_topLevel) {
        Object::Ptr found = d->objectByQualifiedName(Object::Ptr(), parsed);
        if (found) {
            if (lookupCacheEnabled) {
                m_cachedName = name;
                m_cachedObject = found;
            }
            return found;
        }
    }

    QString prefix;
    if (prefixed) {
        prefix = working.left(p + 1);
        working = working.mid(p + 2);
    }

    Object::Ptr current;
    QString lastPart;
    QStringList found;
    if (!parsed.isMultiProperty()) {
        QString escaped = working;
        if (escaped.contains(QLatin1Char('\\')))
            escaped.replace(QStringLiteral("\\."), QString(QChar(1)));
        const QStringList parts = escaped.split(QLatin1Char('.'), Qt::SkipEmptyParts);
        if (!parts.isEmpty()) {
            found.reserve(parts.size());
            int first = 0;
            if (prefix.isEmpty()) {
                current = object(unescape2(parts.at(0)));
                first = 1;
            } else {
                current = findObject(prefix);
            }
            for (int i = first; i < parts.size(); ++i) {
                if (!current)
                    break;
                found.append(lastPart.isEmpty() ? current->qualifiedName() : lastPart);
                current = current->childByName(unescape2(parts.at(i)));
                lastPart = parts.at(i);
            }
        }
        if (lookupCacheEnabled) {
            m_cachedName = name;
            m_cachedObject = current;
        }
    }

    if (current)
        return current;

    if (silentLookups && m_eventNotifyDelegate)
        return Object::Ptr();

    QString message = QStringLiteral("Object '") + name + QStringLiteral("' not found");
    if (!m_error.isEmpty())
        message += QStringLiteral(": ") + m_error;
    else
        message += QLatin1Char('.');
    m_error.clear();

    if (!ObjectMap::isMultiPropertyName(working)) {
        if (found.isEmpty() && name.startsWith(QLatin1Char(':')))
            message += QStringLiteral(" Object name not found in Object Map.");
        else if (!found.isEmpty())
            message += QStringLiteral("\n    Could not find child '") + lastPart + QStringLiteral("' under '")
                + found.join(QLatin1Char('.')) + QLatin1Char('\'');
    } else if (!m_unmatchedProperties.isEmpty()) {
        message += QStringLiteral(" Could not match properties:");
        ObjectMap *map = ObjectMap::self();
        for (auto it = m_unmatchedProperties.constBegin(); it != m_unmatchedProperties.constEnd(); ++it) {
            message += QStringLiteral("\n    ") + it.value().join(QLatin1Char(','))
                + QStringLiteral(" for object name: '") + (map ? map->printableName(it.key()) : it.key())
                + QLatin1Char('\'');
        }
    }
    setError(message);
    return Object::Ptr();
}

} // namespace Vexil
