// delegate.h: per-class pluggable behaviour (hierarchy, properties, conversion, comparison, geometry, ...)
// and the factory that finds it along the class chain.
#ifndef VEXIL_DELEGATE_H
#define VEXIL_DELEGATE_H

#include "object.h"
#include "vexil_export.h"

#include <QFlags>
#include <QMap>
#include <QPair>
#include <QString>
#include <QStringList>

#include <map>
#include <string>
#include <vector>

namespace Vexil {

class EventData;
class ObjectName;
class DumpFilter; // opaque: belongs to the tool's dump feature
namespace UIAbstraction {
class UIElement; // opaque: belongs to the tool's dump feature
}

/// Base of every delegate. Registers itself with DelegateFactory::self() when constructed; the factory owns it.
class VEXIL_EXPORT Delegate
{
public:
    enum Type {
        Hierarchy = 0,
        StaticProperty = 1,
        Geometry = 2,
        Serialize = 3,
        Conversion = 4,
        Comparison = 5,
        Cast = 6,
        DumpObjectTree = 7,
        WindowInteraction = 10
    };

    Delegate(const QString &className, Type type);
    virtual ~Delegate();

    const QString &className() const { return m_className; }
    Type type() const { return m_type; }
    /// The nearest delegate of the same type registered for an ancestor class; looked up once and cached.
    const Delegate *super() const;

private:
    Delegate(const Delegate &) = delete;
    Delegate &operator=(const Delegate &) = delete;

    QString m_className;
    Type m_type;
    mutable bool m_superComputed;
    mutable const Delegate *m_super;
};

/// Parent, children and names of objects. A null parent means the top level.
class VEXIL_EXPORT ObjectHierarchyDelegate : public Delegate
{
public:
    explicit ObjectHierarchyDelegate(const QString &className);
    ~ObjectHierarchyDelegate() override;

    virtual int numChildren(Object::Ptr parent) const = 0;
    virtual Object::Ptr child(Object::Ptr parent, int index) const = 0;
    virtual Object::Ptr childByName(Object::Ptr parent, const QString &name) const = 0;
    /// Finds an object by its parsed name below \p parent; the default finds nothing. Lookups ask every
    /// top-level delegate in order, so an override may fall back on the default whenever it likes.
    virtual Object::Ptr objectByQualifiedName(Object::Ptr parent, const ObjectName &name) const;
    virtual QString name(Object::Ptr object) const = 0;
    virtual QString qualifiedName(Object::Ptr object) const = 0;
    virtual ObjectList children(Object::Ptr parent) const;
    /// Default: a depth-first search from the top-level objects; null for a top-level or unreachable object.
    virtual Object::Ptr parent(Object::Ptr object) const;
    virtual int wrapperType(Object::Ptr object) const = 0;

private:
    Object::Ptr recursiveParent(Object::Ptr candidate, Object::Ptr object) const;
};

enum CoordinateSystem { GlobalCoordinates, NativeCoordinates, RelativeCoordinates };

template <CoordinateSystem>
struct Rect
{
    int x, y, width, height, screen;
};

template <CoordinateSystem>
struct Point
{
    bool valid;
    int x, y, screen;
};

class VEXIL_EXPORT GeometryDelegate : public Delegate
{
public:
    explicit GeometryDelegate(const QString &className);
    ~GeometryDelegate() override;

    virtual Rect<GlobalCoordinates> globalBounds(Object::Ptr object) const = 0;
    virtual Rect<NativeCoordinates> nativeGlobalBounds(Object::Ptr object) const;
    virtual Point<RelativeCoordinates> globalToRelative(Object::Ptr object, int x, int y) const;
    virtual Point<GlobalCoordinates> relativeToGlobal(Object::Ptr object, int x, int y) const;
    virtual Point<NativeCoordinates> relativeToNative(Object::Ptr object, int x, int y) const;
    virtual bool isVisible(Object::Ptr object) const = 0;
    virtual Object::Ptr objectAt(int x, int y) const = 0;
};

/// Object-tree dumping for the tool's UI abstraction; every operation has a do-nothing default.
class VEXIL_EXPORT DumpObjectTreeDelegate : public Delegate
{
public:
    explicit DumpObjectTreeDelegate(const QString &className);
    ~DumpObjectTreeDelegate() override;

    virtual bool enterDump(Object::Ptr root, const std::map<std::string, DumpFilter *> &filters,
                           QString *error) const;
    virtual bool leaveDump(QString *error) const;
    virtual bool dumpObject(Object::Ptr object, bool recursive, UIAbstraction::UIElement **element,
                            const std::map<std::string, DumpFilter *> &filters, QString *error) const;
    virtual bool takeScreenshot(Object::Ptr object, UIAbstraction::UIElement *element) const;
    virtual bool setProperty(const Property *property, Object::Ptr object, UIAbstraction::UIElement *element,
                             int index) const;
    virtual bool children(Object::Ptr object, ObjectList *children) const;
    virtual bool visibleGlobalBounds(Object::Ptr object, Rect<GlobalCoordinates> *bounds) const;
    virtual bool isTransparent(Object::Ptr object) const;
    virtual bool simplifiedType(Object::Ptr object, QString *type) const;
};

/// Extra property declarations for a class, counted after the class's own properties.
class VEXIL_EXPORT StaticPropertyDelegate : public Delegate
{
public:
    explicit StaticPropertyDelegate(const QString &className);
    ~StaticPropertyDelegate() override;

    virtual int numProperties() const = 0;
    virtual const PropertyDeclaration *propertyDeclaration(int index) const = 0;
};

/// Property declarations from text: "type,name,getter,setter,static,stored" per entry. Owns the declarations.
class VEXIL_EXPORT GenericStaticPropertyDelegate : public StaticPropertyDelegate
{
public:
    GenericStaticPropertyDelegate(const QString &className, const QStringList &declarations);
    ~GenericStaticPropertyDelegate() override;

    int numProperties() const override;
    const PropertyDeclaration *propertyDeclaration(int index) const override;

private:
    std::vector<PropertyDeclaration *> m_declarations;
};

class VEXIL_EXPORT SerializeDelegate : public Delegate
{
public:
    explicit SerializeDelegate(const QString &className);
    ~SerializeDelegate() override;

    virtual QString toDebugString(Object::Ptr object) const = 0;
};

class VEXIL_EXPORT ConversionDelegate : public Delegate
{
public:
    enum ConvertFlag {
        ConvertString = 1,
        ConvertInteger = 2,
        ConvertDouble = 4,
        ConvertBoolean = 8,
        ConvertInt64 = 16
    };
    Q_DECLARE_FLAGS(ConvertFlags, ConvertFlag)

    explicit ConversionDelegate(const QString &className);
    ~ConversionDelegate() override;

    /// The subset of \p wanted that this delegate supports.
    virtual ConvertFlags supportedConversions(ConvertFlags wanted) const = 0;
    virtual QString toString(Object::Ptr object) const;
    virtual int toInteger(Object::Ptr object) const;
    virtual long long toInt64(Object::Ptr object) const = 0;
    virtual double toDouble(Object::Ptr object) const;
    virtual bool toBoolean(Object::Ptr object) const;
    virtual void fromString(const QString &value, Object::Ptr object) const;
    virtual void fromInteger(int value, Object::Ptr object) const;
    virtual void fromInt64(long long value, Object::Ptr object) const = 0;
    virtual void fromDouble(double value, Object::Ptr object) const;
    virtual void fromBoolean(bool value, Object::Ptr object) const;
};

Q_DECLARE_OPERATORS_FOR_FLAGS(ConversionDelegate::ConvertFlags)

/// True when \p d supports every conversion in \p wanted.
VEXIL_EXPORT bool supportsConversion(const ConversionDelegate *d, ConversionDelegate::ConvertFlags wanted);

class VEXIL_EXPORT ComparisonDelegate : public Delegate
{
public:
    explicit ComparisonDelegate(const QString &className);
    ~ComparisonDelegate() override;

    virtual bool sameObjects(Object::Ptr a, Object::Ptr b) const = 0;
    virtual int compare(Object::Ptr a, Object::Ptr b) const = 0;
};

/// Casting between classes of one toolkit, for class overrides of canCastTo/castTo to ask.
class VEXIL_EXPORT CastDelegate : public Delegate
{
public:
    explicit CastDelegate(const QString &className);
    ~CastDelegate() override;

    virtual bool canCastTo(const Class *source, const Class *target, bool targetIsPointer) const = 0;
    virtual Object::Ptr castTo(Object::Ptr object, const Class *target, bool targetIsPointer) const = 0;
};

/// Sends script events to the application. Not a Delegate: appends itself to the Inspector's list.
class VEXIL_EXPORT SendEventDelegate
{
public:
    SendEventDelegate();
    virtual ~SendEventDelegate();
    /// True when the event was handled.
    virtual bool sendEvent(const Event *event, Object::Ptr object, const ObjectList &args) const = 0;
};

/// Receives recorded events. Not a Delegate: becomes the Inspector's one notify delegate when constructed.
class VEXIL_EXPORT EventNotifyDelegate
{
public:
    EventNotifyDelegate();
    virtual ~EventNotifyDelegate();
    virtual void notifyEvent(const EventData &eventData) const = 0;
};

/// Registry of delegates keyed by (type, class name). Owns every delegate registered with it.
class VEXIL_EXPORT DelegateFactory
{
public:
    static DelegateFactory *self();
    DelegateFactory();
    ~DelegateFactory();

    /// Registers \p d; an existing delegate under the same key is displaced, neither deleted nor told.
    void addDelegate(Delegate *d);
    const Delegate *delegate(const QString &className, Delegate::Type type) const;
    /// The delegate of \p type for \p cls or its nearest ancestor that has one.
    const Delegate *delegate(const Class *cls, Delegate::Type type) const;
    std::vector<const Delegate *> delegatesForType(Delegate::Type type) const;

    static DelegateFactory *selfPtr;

private:
    DelegateFactory(const DelegateFactory &) = delete;
    DelegateFactory &operator=(const DelegateFactory &) = delete;

    QMap<QPair<int, QString>, Delegate *> m_delegates;
    // Delegates displaced by a later registration under the same key: still owned, deleted with the factory.
    std::vector<Delegate *> m_displaced;
};

} // namespace Vexil

#endif // VEXIL_DELEGATE_H
