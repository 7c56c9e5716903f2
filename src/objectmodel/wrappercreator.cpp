// wrappercreator.cpp: members of wrapped classes from descriptor tables.
#include "wrappercreator.h"

namespace Vexil {

WrapperCreator::WrapperCreator(const Class *cls, const char *strings,
                               const ConstructorDescriptor *constructors, const MethodDescriptor *methods,
                               const int *signatureData, const ArgumentDescriptor *arguments)
    : m_class(cls)
    , m_strings(strings)
    , m_constructors(constructors)
    , m_methods(methods)
    , m_signatureData(signatureData)
    , m_arguments(arguments)
{
}

const char *WrapperCreator::string(int offset) const
{
    if (!m_strings || offset < 0)
        return nullptr;
    return m_strings + offset;
}

Argument WrapperCreator::argumentFromDescriptor(const ArgumentDescriptor &descriptor) const
{
    Inspector *insp = Inspector::self();
    const Class *type = nullptr;
    const Enum *enumeration = nullptr;

    if (descriptor.kind == ArgumentDescriptor::PrimitiveType) {
        type = insp->type(descriptor.type);
    } else if (descriptor.kind == ArgumentDescriptor::NamedType
               || descriptor.kind == ArgumentDescriptor::RealNamedType) {
        QString typeName = QString::fromLatin1(string(descriptor.type));
        if (descriptor.kind == ArgumentDescriptor::RealNamedType && m_class)
            typeName = m_class->realType(typeName);
        type = insp->type(typeName);
        // "Owner::Enum" names an enum of a class rather than a class of its own.
        const int sep = typeName.indexOf(QLatin1String("::"));
        if (!type && sep >= 0 && descriptor.enumName < 0) {
            type = insp->type(typeName.left(sep));
            if (type)
                enumeration = type->enumerator(typeName.mid(sep + 2));
        }
    }

    if (descriptor.enumName >= 0)
        enumeration = insp->enumerator(QString::fromLatin1(string(descriptor.enumName)));

    const QString name = descriptor.name >= 0 ? QString::fromUtf8(string(descriptor.name)) : QString();
    return Argument(name, type, unsigned(descriptor.flags), descriptor.count, enumeration);
}

Signature WrapperCreator::signatureFromData(int first, int count) const
{
    Signature signature;
    if (count <= 0 || first < 0 || !m_signatureData || !m_arguments)
        return signature;
    for (int k = 0; k < count; ++k) {
        const int index = m_signatureData[first + k];
        // A negative entry is a hole in generated data: an argument without a type keeps the count right.
        signature.append(index >= 0 ? argumentFromDescriptor(m_arguments[index])
                                    : Argument(QString(), nullptr));
    }
    return signature;
}

Constructor *WrapperCreator::createConstructor(int i) const
{
    if (!m_class || !m_constructors || i < 0)
        return nullptr;
    // Constructors are made before anything has walked the chain; the superclass must be known by then.
    m_class->superClass();
    const ConstructorDescriptor &descriptor = m_constructors[i];
    return new Constructor(m_class, signatureFromData(descriptor.firstArgument, descriptor.argumentCount), i);
}

Method *WrapperCreator::createMethod(int i) const
{
    if (!m_methods || i < 0)
        return nullptr;
    const MethodDescriptor &descriptor = m_methods[i];
    const Argument returnArgument = descriptor.returnArgument >= 0 && m_arguments
        ? argumentFromDescriptor(m_arguments[descriptor.returnArgument])
        : Argument(QString(), nullptr);
    return new Method(m_class, returnArgument, QString::fromUtf8(string(descriptor.name)),
                      signatureFromData(descriptor.firstArgument, descriptor.argumentCount),
                      descriptor.isStatic != 0, i);
}

Argument primitiveArg(const char *name, Inspector::PrimitiveTypes type)
{
    return Argument(QString::fromUtf8(name), Inspector::self()->type(int(type)));
}

} // namespace Vexil
