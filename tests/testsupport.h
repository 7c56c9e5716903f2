// testsupport.h: helpers shared by the tests: stderr capture, readable QString failures, a record collector,
// a class with a chosen superclass, plain objects, stream bytes, member access by name and the full event record.
#ifndef VEXIL_TESTSUPPORT_H
#define VEXIL_TESTSUPPORT_H

#include "eventrecordfixture.h"

#include <delegate.h>
#include <inspector.h>
#include <object.h>

#include <QByteArray>
#include <QDataStream>
#include <QString>
#include <gtest/gtest.h>
#include <ostream>
#include <functional>
#include <string>
#include <vector>

QT_BEGIN_NAMESPACE
inline void PrintTo(const QString &s, std::ostream *os)
{
    *os << '"' << s.toStdString() << '"';
}
inline void PrintTo(const QByteArray &b, std::ostream *os)
{
    *os << "QByteArray(" << b.toHex().toStdString() << ')';
}
QT_END_NAMESPACE

namespace VexilTest {

/// Redirects file descriptor 2 into a temporary file while alive; text() reads what was written so far.
class StderrCapture
{
public:
    StderrCapture();
    ~StderrCapture();
    std::string text() const;

private:
    StderrCapture(const StderrCapture &) = delete;
    StderrCapture &operator=(const StderrCapture &) = delete;
    int m_savedFd;
    std::FILE *m_file;
};

inline Vexil::Inspector *insp()
{
    return Vexil::Inspector::self();
}

/// The class registered under number \p type, for instance a primitive type.
inline const Vexil::Class *primitive(int type)
{
    return insp()->type(type);
}

/// A primitive value as a script passes it: int, long long, bool, double or a text.
template <class T>
Vexil::Object::Ptr value(T v)
{
    return insp()->createPrimitive(v);
}

/// Calls the global function \p name as a script binding does: its overload set, without an object.
Vexil::Object::Ptr callGlobal(const char *name, const Vexil::ObjectList &args);

/// Keeps every record it is notified of; installed as the notify delegate while alive.
class RecordCollector : public Vexil::EventNotifyDelegate
{
public:
    void notifyEvent(const Vexil::EventData &data) const override { records.push_back(data); }
    mutable std::vector<Vexil::EventData> records;
};

/// A registered class (the Inspector owns it) in \p ns, the global namespace when null, whose superclass is
/// \p super; counts how often the model asks for the superclass to be set up. Its own conversions are the
/// test's hooks (none when unset).
class ChainClass : public Vexil::Class
{
public:
    explicit ChainClass(const char *name, const Vexil::Class *super = nullptr,
                        Vexil::Namespace *ns = nullptr);
    void initSuperClass() override;
    bool canConvertToInternal(const Vexil::Class *target, bool sourceIsPointer,
                              bool targetIsPointer) const override;
    Vexil::Object::Ptr convertToInternal(Vexil::Object::Ptr object, const Vexil::Class *target,
                                         bool targetIsPointer) const override;

    const Vexil::Class *superclass;
    bool neverSetsUp = false; ///< leaves the superclass unset, as a broken wrapper would
    mutable int initSuperCalls = 0;
    std::function<bool(const Vexil::Class *, bool, bool)> convertible;
    std::function<Vexil::Object::Ptr(Vexil::Object::Ptr, const Vexil::Class *, bool)> converter;
};

/// An object that counts the live instances of its type, to show leaks and double deletes; over \p data, or
/// over itself when none is given, so that no two compare the same.
struct CountedObject : public Vexil::Object
{
    static int instances;
    explicit CountedObject(const Vexil::Class *cls, void *data = nullptr)
        : Vexil::Object(data ? data : this, cls, Vexil::ObjectAttribute())
    {
        ++instances;
    }
    ~CountedObject() override { --instances; }
};

/// An object of \p cls over \p data that does not own it.
Vexil::Object::Ptr makeObject(void *data, const Vexil::Class *cls, unsigned int flags = 0, int count = 0);

/// The bytes \p write puts on a fresh stream.
QByteArray streamBytes(const std::function<void(QDataStream &)> &write);

/// A property read, a property write and a method call by name, as a script makes them; null or false
/// when the member is missing or the call fails.
Vexil::Object::Ptr readProperty(const Vexil::Object::Ptr &object, const char *property);
bool writeProperty(const Vexil::Object::Ptr &object, const char *property, const Vexil::Object::Ptr &value);
Vexil::Object::Ptr callMethod(const Vexil::Object::Ptr &object, const char *method,
                              const Vexil::ObjectList &args = Vexil::ObjectList(), bool *found = nullptr);

} // namespace VexilTest

#endif // VEXIL_TESTSUPPORT_H
