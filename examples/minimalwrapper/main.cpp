// minimalwrapper: a toolkit wrapper in miniature. It describes a tiny in-memory application to the model
// (one class with a property and a method, a hierarchy delegate, a few widgets) and prints what scripts see.
#include <vexil.h>

#include <QStringList>

#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace {

using namespace Vexil;

// The "application": widgets with a name, a text and children.
struct Widget
{
    QString name;
    QString text;
    std::vector<Widget *> children;
    Widget *parent = nullptr;
};

Widget *addChild(Widget *parent, const QString &name, const QString &text)
{
    Widget *w = new Widget { name, text, {}, parent };
    parent->children.push_back(w);
    return w;
}

// The model's view of Widget: property "text" (read-write), method "click()".
class WidgetClass : public Class
{
public:
    WidgetClass()
        : Class("DemoWidget", true)
    {
        setNumProperties(1);
        setNumMethods(1);
    }

    Property *createProperty(int index) const override
    {
        if (index != 0)
            return nullptr;
        auto *decl = new PropertyDeclaration(this,
                                             Argument(Inspector::self()->type(Inspector::Char),
                                                      ObjectAttribute::Pointer),
                                             QStringLiteral("text"),
                                             PropertyDeclaration::Readable | PropertyDeclaration::Writable);
        return new Property(decl, this, index, true);
    }

    Method *createMethod(int index) const override
    {
        if (index != 0)
            return nullptr;
        return new Method(this, Argument(Inspector::self()->type(Inspector::Void)), QStringLiteral("click"),
                          Signature(), false, index);
    }

    using Class::getProperty;
    using Class::invoke;
    using Class::setProperty;

    Object::Ptr getProperty(int index, void *object, const Class *) const override
    {
        auto *w = static_cast<Widget *>(object);
        if (index != 0 || !w)
            return Object::Ptr();
        return Inspector::self()->createPrimitive(w->text.toUtf8().constData());
    }

    bool setProperty(int index, void *object, void *value) const override
    {
        auto *w = static_cast<Widget *>(object);
        if (index != 0 || !w || !value)
            return false;
        w->text = QString::fromUtf8(static_cast<const char *>(value));
        return true;
    }

    Object::Ptr invoke(int index, Object::Ptr object, const ObjectList &, const Method *) const override
    {
        auto *w = object ? static_cast<Widget *>(object->rawData()) : nullptr;
        if (index != 0 || !w)
            return Object::Ptr();
        std::printf("  (the application sees a click on '%s')\n", w->name.toUtf8().constData());
        return Inspector::self()->voidObject();
    }
};

Object::Ptr wrapWidget(Widget *w)
{
    static const Class *cls = Inspector::self()->type(QStringLiteral("DemoWidget"));
    return w ? cls->wrap(w, ObjectAttribute(ObjectAttribute::Pointer)) : Object::Ptr();
}

Widget *widgetOf(const Object::Ptr &o)
{
    return o ? static_cast<Widget *>(o->rawData()) : nullptr;
}

// Parent, children and names, for the widgets and for the top level (a null parent).
class WidgetHierarchy : public ObjectHierarchyDelegate
{
public:
    WidgetHierarchy(const QString &className, std::vector<Widget *> *topLevel)
        : ObjectHierarchyDelegate(className)
        , m_topLevel(topLevel)
    {
    }

    const std::vector<Widget *> &kids(const Object::Ptr &parent) const
    {
        Widget *w = widgetOf(parent);
        return w ? w->children : *m_topLevel;
    }
    int numChildren(Object::Ptr parent) const override { return int(kids(parent).size()); }
    Object::Ptr child(Object::Ptr parent, int index) const override
    {
        const auto &k = kids(parent);
        return index >= 0 && size_t(index) < k.size() ? wrapWidget(k[size_t(index)]) : Object::Ptr();
    }
    Object::Ptr childByName(Object::Ptr parent, const QString &name) const override
    {
        for (Widget *w : kids(parent)) {
            if (w->name == name)
                return wrapWidget(w);
        }
        return Object::Ptr();
    }
    QString name(Object::Ptr object) const override
    {
        Widget *w = widgetOf(object);
        return w ? w->name : QString();
    }
    QString qualifiedName(Object::Ptr object) const override
    {
        QStringList parts;
        for (Widget *w = widgetOf(object); w; w = w->parent)
            parts.prepend(w->name);
        return parts.join(QLatin1Char('.'));
    }
    Object::Ptr parent(Object::Ptr object) const override
    {
        Widget *w = widgetOf(object);
        return w ? wrapWidget(w->parent) : Object::Ptr();
    }
    int wrapperType(Object::Ptr) const override { return 1; }

private:
    std::vector<Widget *> *m_topLevel;
};

void printTree(const Object::Ptr &o, int depth)
{
    std::printf("%*s%s  [%s]  %s\n", depth * 2, "", o->qualifiedName().toUtf8().constData(),
                o->className().toUtf8().constData(), o->toDebugString().toUtf8().constData());
    for (const Object::Ptr &c : o->children())
        printTree(c, depth + 1);
}

void deleteTree(Widget *w)
{
    for (Widget *c : w->children)
        deleteTree(c);
    delete w;
}

} // namespace

int main()
{
    Inspector *inspector = Inspector::self();

    // The application under test.
    std::vector<Widget *> topLevel;
    Widget *main = new Widget { QStringLiteral("MainWindow"), QStringLiteral("Demo"), {}, nullptr };
    topLevel.push_back(main);
    Widget *form = addChild(main, QStringLiteral("form"), QString());
    addChild(form, QStringLiteral("nameEdit"), QStringLiteral("Ada"));
    addChild(form, QStringLiteral("okButton"), QStringLiteral("OK"));

    // What a wrapper registers: its class, the hierarchy delegate for it, and the top-level delegate.
    new WidgetClass();
    new WidgetHierarchy(QStringLiteral("DemoWidget"), &topLevel);
    new WidgetHierarchy(QStringLiteral("Vexil::ToplevelQt"), &topLevel);

    std::printf(
        "The model knows %d classes; the first of the wrapper's is %s.\n", inspector->numClasses(),
        inspector->type(QStringLiteral("DemoWidget"))->fullyQualifiedClassName().toUtf8().constData());

    std::printf("\nObject tree:\n");
    for (const Object::Ptr &top : inspector->objects())
        printTree(top, 1);

    std::printf("\nScript steps:\n");
    Object::Ptr button = inspector->findObject(QStringLiteral("MainWindow.form.okButton"));
    std::printf("  findObject(\"MainWindow.form.okButton\") -> %s\n",
                button ? button->qualifiedName().toUtf8().constData() : "null");
    if (button) {
        const Property *text = button->objectClass()->property(QStringLiteral("text"));
        std::printf("  okButton.text = %s\n", text->get(button)->toString().toUtf8().constData());
        text->set(button, inspector->createPrimitive("Save"));
        std::printf("  after setting: okButton.text = %s\n",
                    text->get(button)->toString().toUtf8().constData());
        bool found = false;
        button->objectClass()->methods(QStringLiteral("click")).invoke(button, ObjectList(), &found);
        std::printf("  click() %s\n", found ? "called" : "not found");
    }

    Object::Ptr missing = inspector->findObject(QStringLiteral("MainWindow.form.cancelButton"));
    std::printf("  findObject(\"MainWindow.form.cancelButton\") -> %s\n    error: %s\n",
                missing ? "found" : "null", inspector->lastError().toUtf8().constData());

    deleteTree(main);
    return button ? 0 : 1;
}
