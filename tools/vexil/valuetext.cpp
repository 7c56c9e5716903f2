// valuetext.cpp: values as the tool prints them.
#include "valuetext.h"

#include <arrayclass.h>
#include <inspector.h>

#include <QStringList>

namespace VexilTool {

namespace {

bool isPrimitive(const Vexil::Class *cls)
{
    Vexil::Inspector *insp = Vexil::Inspector::self();
    for (int i = Vexil::Inspector::Short; i <= Vexil::Inspector::Undefined; ++i) {
        if (insp->type(i) == cls)
            return true;
    }
    return false;
}

QString display(const Vexil::Object::Ptr &value, const ObjectNamer &nameOf, int depth)
{
    using namespace Vexil;
    if (!value)
        return QStringLiteral("(null)");
    if (value->isInvalidated())
        return QStringLiteral("(destroyed object)");
    if (value->isNull())
        return QStringLiteral("(null object)");
    const Class *cls = value->objectClass();
    if (cls == Inspector::self()->type(Inspector::Void))
        return QStringLiteral("(void)");
    if (!cls || isPrimitive(cls))
        return value->toString();
    const QString name = nameOf(value);
    if (!name.isEmpty())
        return name;
    if (depth > 1)
        return value->toString();
    if (cls == ArrayClass::registeredClass()) {
        QStringList items;
        for (const Object::Ptr &item : ArrayClass::unwrapObject(value))
            items.append(display(item, nameOf, depth + 1));
        return QLatin1Char('[') + items.join(QStringLiteral(", ")) + QLatin1Char(']');
    }
    QStringList fields;
    for (int i = 0; i < cls->numProperties(); ++i) {
        const Property *p = cls->property(i);
        if (!p || !p->isReadable() || p->isStatic())
            continue;
        const Object::Ptr field = p->get(value);
        if (field)
            fields.append(p->name() + QLatin1Char('=') + display(field, nameOf, depth + 1));
    }
    return fields.isEmpty() ? value->toString() : fields.join(QLatin1Char(' '));
}

} // namespace

QString displayValue(const Vexil::Object::Ptr &value, const ObjectNamer &nameOf)
{
    return display(value, nameOf, 0);
}

QString scriptQuoted(const QString &text)
{
    bool plain = !text.isEmpty();
    for (const QChar c : text) {
        if (c == QLatin1Char(' ') || c == QLatin1Char('\t') || c == QLatin1Char('"')) {
            plain = false;
            break;
        }
    }
    if (plain)
        return text;
    QString quoted = text;
    quoted.replace(QLatin1Char('"'), QLatin1String("\"\""));
    return QLatin1Char('"') + quoted + QLatin1Char('"');
}

} // namespace VexilTool
