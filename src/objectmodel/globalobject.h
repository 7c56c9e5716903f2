// globalobject.h: the class of global functions, properties, events and enums.
#ifndef VEXIL_GLOBALOBJECT_H
#define VEXIL_GLOBALOBJECT_H

#include "object.h"
#include "vexil_export.h"

#include <QString>

#include <vector>

namespace Vexil {

/// The body of a global function implemented as an object; wrappers subclass it.
class VEXIL_EXPORT GlobalMethodInvoker
{
public:
    virtual ~GlobalMethodInvoker();
    virtual Object::Ptr invoke(const ObjectList &args, const Class *cls) = 0;
};

/// A method of the global class whose body is a plain function or an invoker object. Its owner is the
/// Inspector's global class; its index is the number of global methods when it is made, until
/// GlobalClass::addMethod gives it the place it joins.
class VEXIL_EXPORT GlobalMethod : public Method
{
public:
    typedef Object::Ptr (*RawFunction)(void **args, const Class *cls);
    typedef Object::Ptr (*ListFunction)(const ObjectList &args, const Class *cls);

    enum BodyKind { InvokerBody, RawBody, ListBody };

    /// The invoker is not taken over: it must outlive the method.
    GlobalMethod(GlobalMethodInvoker *invoker, const Argument &returnArg, const QString &name,
                 const Signature &signature, bool isStatic);
    GlobalMethod(RawFunction function, const Argument &returnArg, const QString &name,
                 const Signature &signature, bool isStatic);
    /// Always static: a function that takes the object list has nothing to say about an object of its own.
    GlobalMethod(ListFunction function, const Argument &returnArg, const QString &name,
                 const Signature &signature);
    ~GlobalMethod() override;

    BodyKind bodyKind() const { return m_kind; }

    /// Runs the body with objects; a raw function gets their data pointers. Null without a body.
    Object::Ptr callBody(const ObjectList &args, const Class *cls) const;
    /// Runs the body with data pointers, one per parameter; the others get the data wrapped in objects of
    /// the parameter types.
    Object::Ptr callBody(void **args, const Class *cls) const;

private:
    BodyKind m_kind;
    GlobalMethodInvoker *m_invoker;
    RawFunction m_raw;
    ListFunction m_list;
};

/// A property of the global class read and written through plain functions. It is static, so scripts reach
/// it without an object; the declaration is made from the arguments and owned by the property.
class VEXIL_EXPORT GlobalProperty : public Property
{
public:
    typedef bool (*Setter)(void *value);
    typedef Object::Ptr (*Getter)(const Class *cls);

    GlobalProperty(Setter setter, Getter getter, const Argument &type, const QString &name,
                   unsigned int flags);
    ~GlobalProperty() override;

    /// The getter's result; null without a getter.
    Object::Ptr read(const Class *cls) const;
    /// The setter's result for the value's data; false without a setter.
    bool write(void *value) const;

private:
    static int nextIndex();

    Setter m_setter;
    Getter m_getter;
};

/// The class "Vexil::Global": functions, properties, events and enums that scripts reach without an object.
/// Filled at run time; the descriptors added are owned by the class from then on (except a method that
/// injectMethod hands back).
class VEXIL_EXPORT GlobalClass : public Class
{
public:
    GlobalClass();
    ~GlobalClass() override;

    /// Appends; once the methods have been handed out the method joins the class late (lateAddMethod).
    void addMethod(const GlobalMethod *method);
    /// Replaces a method of the same name and parameters, which is returned to the caller (who owns it from
    /// then on); without one the method is added and null is returned.
    const GlobalMethod *injectMethod(const GlobalMethod *method);
    void addProperty(const GlobalProperty *property);
    void addEvent(const Event *event);
    void addEnum(const Enum *e);

    Method *createMethod(int index) const override;
    Property *createProperty(int index) const override;
    Event *createEvent(int index) const override;
    Enum *createEnum(int index) const override;
    /// Global functions are not constructed: always null.
    Constructor *createConstructor(int index) const override;

    using Class::construct;
    Object::Ptr construct(int index, void **args) const override;

    using Class::getProperty;
    using Class::setProperty;
    /// The getter of the property at \p index; null outside the list.
    Object::Ptr getProperty(int index, void *object, const Class *cls) const override;
    /// The setter of the property at \p index with the value's data; false outside the list.
    bool setProperty(int index, void *object, void *value) const override;
    Object::Ptr getProperty(Object::Ptr object, const Property *property) const override;
    bool setProperty(Object::Ptr object, const Property *property, Object::Ptr value) const override;

    using Class::invoke;
    /// Calls the body of the global method at \p index (counted after the base classes' methods); null
    /// outside the list.
    Object::Ptr invoke(int index, void *object, void **args, const Class *cls) const override;
    Object::Ptr invoke(int index, Object::Ptr object, const ObjectList &args,
                       const Method *method) const override;
    Object::Ptr invoke(Object::Ptr object, const Method *method, void **args) const override;

    /// Not supported: stops the program.
    Object::Ptr wrap(void *data, const ObjectAttribute &attr) const override;

private:
    int localMethodIndex(int index, const Method *method) const;
    int localPropertyIndex(const Property *property) const;

    friend class GlobalProperty;

    std::vector<const GlobalMethod *> m_methods;
    std::vector<const GlobalProperty *> m_properties;
    std::vector<const Event *> m_events;
    std::vector<const Enum *> m_enums;
    mutable bool m_methodsCreated;
};

} // namespace Vexil

#endif // VEXIL_GLOBALOBJECT_H
