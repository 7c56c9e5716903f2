// testsupport.cpp: stderr capture, the chain class, stream bytes and member access by name for the tests.
#include "testsupport.h"

#include <inspector.h>

#include <cstdio>
#include <unistd.h>

namespace VexilTest {

StderrCapture::StderrCapture()
    : m_savedFd(-1)
    , m_file(std::tmpfile())
{
    std::fflush(stderr);
    m_savedFd = ::dup(2);
    if (m_file)
        ::dup2(::fileno(m_file), 2);
}

StderrCapture::~StderrCapture()
{
    std::fflush(stderr);
    if (m_savedFd >= 0) {
        ::dup2(m_savedFd, 2);
        ::close(m_savedFd);
    }
    if (m_file)
        std::fclose(m_file);
}

std::string StderrCapture::text() const
{
    std::fflush(stderr);
    if (!m_file)
        return std::string();
    // Read through the descriptor: the writes went through fd 2, not through this FILE's buffer.
    const int fd = ::fileno(m_file);
    std::string out;
    char buf[4096];
    off_t offset = 0;
    ssize_t n;
    while ((n = ::pread(fd, buf, sizeof buf, offset)) > 0) {
        out.append(buf, static_cast<size_t>(n));
        offset += n;
    }
    return out;
}

int CountedObject::instances = 0;

ChainClass::ChainClass(const char *name, const Vexil::Class *super, Vexil::Namespace *ns)
    : Vexil::Class(name, ns ? ns : Vexil::Inspector::self()->globalNamespace(), true)
    , superclass(super)
{
}

void ChainClass::initSuperClass()
{
    ++initSuperCalls;
    if (!neverSetsUp)
        setSuperClass(superclass);
}

bool ChainClass::canConvertToInternal(const Vexil::Class *target, bool sourceIsPointer,
                                      bool targetIsPointer) const
{
    return convertible && convertible(target, sourceIsPointer, targetIsPointer);
}

Vexil::Object::Ptr ChainClass::convertToInternal(Vexil::Object::Ptr object, const Vexil::Class *target,
                                                 bool targetIsPointer) const
{
    return converter ? converter(object, target, targetIsPointer) : Vexil::Object::Ptr();
}

Vexil::Object::Ptr makeObject(void *data, const Vexil::Class *cls, unsigned int flags, int count)
{
    return Vexil::Object::Ptr(new Vexil::Object(data, cls, Vexil::ObjectAttribute(flags, count)));
}

QByteArray streamBytes(const std::function<void(QDataStream &)> &write)
{
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    write(out);
    return bytes;
}

Vexil::Object::Ptr readProperty(const Vexil::Object::Ptr &object, const char *property)
{
    const Vexil::Property *p = object ? object->objectClass()->property(QString::fromLatin1(property))
                                      : nullptr;
    return p ? p->get(object) : Vexil::Object::Ptr();
}

bool writeProperty(const Vexil::Object::Ptr &object, const char *property, const Vexil::Object::Ptr &value)
{
    const Vexil::Property *p = object ? object->objectClass()->property(QString::fromLatin1(property))
                                      : nullptr;
    return p && p->set(object, value);
}

Vexil::Object::Ptr callGlobal(const char *name, const Vexil::ObjectList &args)
{
    return insp()->globalClass()->methods(QString::fromLatin1(name)).invoke(Vexil::Object::Ptr(), args);
}

Vexil::Object::Ptr callMethod(const Vexil::Object::Ptr &object, const char *method,
                              const Vexil::ObjectList &args, bool *found)
{
    if (!object) {
        if (found)
            *found = false;
        return Vexil::Object::Ptr();
    }
    return object->objectClass()->methods(QString::fromLatin1(method)).invoke(object, args, found);
}

} // namespace VexilTest
