// wrappercreator.h: constructors and methods of a wrapped class built from static descriptor tables.
#ifndef VEXIL_WRAPPERCREATOR_H
#define VEXIL_WRAPPERCREATOR_H

#include "inspector.h"
#include "object.h"
#include "vexil_export.h"

#include <cstdint>

namespace Vexil {

/// One argument or return value. Offsets point into the string block, -1 for none.
struct ArgumentDescriptor
{
    enum Kind : std::int8_t { PrimitiveType = 0, NamedType = 1, RealNamedType = 2 };

    int name; ///< offset of the UTF-8 name, -1 for an unnamed argument
    std::int8_t kind; ///< 0 primitive index, 1 type name, 2 type name through the class's realType
    int type; ///< kind 0: the Inspector's primitive type index, else offset of the type name
    int flags; ///< argument flags, passed on unchanged
    int count; ///< element count, passed on unchanged
    int enumName; ///< offset of the enum's name, -1 for none
};

struct MethodDescriptor
{
    int returnArgument; ///< index into the argument descriptors
    int name; ///< offset of the name
    int argumentCount;
    int firstArgument; ///< index into the signature data
    std::uint8_t isStatic; ///< passed to Method as its static flag
};

struct ConstructorDescriptor
{
    int firstArgument; ///< index into the signature data
    int argumentCount;
};

/// Builds the members of a wrapped class from its tables. The signature data is an array of argument
/// descriptor indexes; a signature is argumentCount entries from firstArgument. Owns none of the tables.
class VEXIL_EXPORT WrapperCreator
{
public:
    WrapperCreator(const Class *cls, const char *strings, const ConstructorDescriptor *constructors,
                   const MethodDescriptor *methods, const int *signatureData,
                   const ArgumentDescriptor *arguments);

    /// An unknown type name leaves the argument without a type, silently.
    Argument argumentFromDescriptor(const ArgumentDescriptor &descriptor) const;
    /// The arguments of descriptors signatureData[first] .. signatureData[first + count - 1]; empty for
    /// a count of 0 or less.
    Signature signatureFromData(int first, int count) const;
    /// A new constructor of the wrapped class from the i-th constructor descriptor; the caller owns it.
    Constructor *createConstructor(int i) const;
    /// A new method of the wrapped class from the i-th method descriptor, with index i; the caller owns it.
    Method *createMethod(int i) const;

    const Class *wrappedClass() const { return m_class; }

private:
    // The text at \p offset in the string block; null for a negative offset.
    const char *string(int offset) const;

    const Class *m_class;
    const char *m_strings;
    const ConstructorDescriptor *m_constructors;
    const MethodDescriptor *m_methods;
    const int *m_signatureData;
    const ArgumentDescriptor *m_arguments;
};

/// An argument named \p name of the Inspector's primitive class \p type, flags 0.
VEXIL_EXPORT Argument primitiveArg(const char *name, Inspector::PrimitiveTypes type);

} // namespace Vexil

#endif // VEXIL_WRAPPERCREATOR_H
