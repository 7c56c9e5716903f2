// qtwrapper.cpp: the wrapper objects of live QObjects and the start-up of the Qt wrapper.
#include "qtwrapper.h"
#include "qtwrapper_p.h"

#include "inspector.h"

#include <QApplication>
#include <QGuiApplication>
#include <QWidget>

#include <cstdio>

namespace Vexil {
namespace QtWrapper {

namespace {

// Hangs on every wrapper object: when the object dies its map entry goes with it, unless the entry already
// belongs to a newer wrapper (the QObject died first and its address was reused).
class Registration : public ObjectAuxData
{
public:
    Registration(QObject *object, const Object *wrapper)
        : m_object(object)
        , m_wrapper(wrapper)
    {
    }
    ~Registration() override { ObjectTracker::self()->forget(m_object, m_wrapper); }

private:
    QObject *m_object;
    const Object *m_wrapper;
};

// The wrapper of a QObject. Once its QObject is gone it is a dead object that does not answer as null, so
// that calls through a reference a script still holds report the invalidation itself rather than a null
// reference.
class QtObject : public Object
{
public:
    QtObject(QObject *object, const Class *cls)
        : Object(object, cls, ObjectAttribute(ObjectAttribute::Pointer))
    {
    }
    bool isNull() const override { return !isInvalidated() && Object::isNull(); }
};

bool s_installed = false;
QPointer<Recorder> s_recorder;

} // namespace

ObjectTracker *ObjectTracker::self()
{
    // Never deleted: wrapper objects held by scripts may outlive everything else and still unregister here.
    static ObjectTracker *s_tracker = new ObjectTracker;
    return s_tracker;
}

Object::Ptr ObjectTracker::wrap(QObject *object)
{
    if (!object)
        return Object::Ptr();
    auto it = m_wrappers.constFind(object);
    if (it != m_wrappers.constEnd())
        return Object::Ptr(it.value());
    const Class *cls = classForMetaObject(object->metaObject());
    auto *wrapper = new QtObject(object, cls);
    wrapper->setAuxData(new Registration(object, wrapper));
    m_wrappers.insert(object, wrapper);
    // Direct, so that the wrapper is invalidated while the QObject is still being destroyed, before anything
    // can reach it through the stale pointer; unique, as an object may be wrapped again after its wrapper died.
    connect(object, &QObject::destroyed, this, &ObjectTracker::objectDestroyed,
            Qt::ConnectionType(Qt::DirectConnection | Qt::UniqueConnection));
    return Object::Ptr(wrapper);
}

void ObjectTracker::forget(QObject *object, const Object *wrapper)
{
    auto it = m_wrappers.find(object);
    if (it != m_wrappers.end() && it.value() == wrapper)
        m_wrappers.erase(it);
}

void ObjectTracker::objectDestroyed(QObject *object)
{
    auto it = m_wrappers.find(object);
    if (it == m_wrappers.end())
        return;
    Object *wrapper = it.value();
    m_wrappers.erase(it);
    wrapper->invalidate();
}

Object::Ptr wrapQObject(QObject *object)
{
    return ObjectTracker::self()->wrap(object);
}

QObject *qobjectOf(const Object::Ptr &object)
{
    if (!object || !object->rawData() || !qtClass(object->objectClass()))
        return nullptr;
    return static_cast<QObject *>(object->rawData());
}

int liveWrapperCount()
{
    return ObjectTracker::self()->count();
}

bool isInstalled()
{
    return s_installed;
}

bool install()
{
    // Qt Quick programs may have a QGuiApplication only: then there are no widgets, and the widget code
    // (top-level widgets, the active window, focus widgets) is never reached.
    if (!qobject_cast<QGuiApplication *>(QCoreApplication::instance())) {
        std::fprintf(stderr, "QtWrapper::install: create the QApplication or QGuiApplication first\n");
        return false;
    }
    // The recorder lives with the application; a new application gets a new one.
    if (!s_recorder) {
        s_recorder = new Recorder(QCoreApplication::instance());
        QCoreApplication::instance()->installEventFilter(s_recorder);
    }
    if (s_installed)
        return true;

    Inspector *insp = Inspector::self();
    // Widget slots take widgets; their parameter types must be known before the classes are made.
    qRegisterMetaType<QObject *>();
    qRegisterMetaType<QWidget *>();
    classForMetaObject(&QWidget::staticMetaObject);

    // The Inspector builds its list of top-level delegates once; join it if it already exists.
    const bool listBuilt = insp->topLevelHierarchyDelegates() != nullptr;
    new QtHierarchyDelegate(QStringLiteral("QObject"));
    auto *topLevel = new QtHierarchyDelegate(QStringLiteral("Vexil::ToplevelQt"));
    if (listBuilt)
        insp->addTopLevelHierarchyDelegate(topLevel);

    // The functions take any QObject: the delegate of its class says whether it is a window.
    new QtWindowDelegate(QStringLiteral("QWidget"));
    new QtWindowDelegate(QStringLiteral("QWindow"));
    registerWindowInteractionMethods(classForMetaObject(&QObject::staticMetaObject));
    registerInputFunctions();
    registerItemFunctions();
    registerScreenshotFunctions();
    registerGestureFunctions();

    // Qt objects come and go all the time, and the lookup cache would keep handing out the wrapper of a
    // destroyed dialog for its name after the dialog was opened again.
    insp->lookupCacheEnabled = false;

    s_installed = true;
    return true;
}

} // namespace QtWrapper
} // namespace Vexil
