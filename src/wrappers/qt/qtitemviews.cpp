// qtitemviews.cpp: rows, cells and tree items of item views as model objects, found by multi-property
// names; menus opened and their items clicked as a person does.
#include "qtwrapper.h"
#include "qtwrapper_p.h"

#include "inspector.h"
#include "primitives.h"

#include <QAbstractItemView>
#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QItemSelectionModel>
#include <QMenu>
#include <QMenuBar>
#include <QPersistentModelIndex>
#include <QToolBar>

#include <functional>

namespace Vexil {
namespace QtWrapper {

struct ItemRef
{
    QPointer<QAbstractItemView> view;
    QPointer<QComboBox> combo; // set when the view is the combo box's pop-up
    QPersistentModelIndex index;

    bool alive() const { return view && index.isValid() && index.model() == view->model(); }
};

namespace {

// How long a menu or a combo box's pop-up may take to open, before the time-out factor.
constexpr int PopupTimeoutMs = 5000;
// Items a lookup visits at most in one view: a model larger than that is searched in its first part.
constexpr int MaxItemsPerView = 1000000;

QString goneText()
{
    return QStringLiteral("The item is no longer in its view");
}

ItemRef *liveItem(const Object::Ptr &object)
{
    ItemRef *ref = itemOf(object);
    if (!ref || !ref->alive()) {
        Inspector::self()->setError(goneText());
        return nullptr;
    }
    return ref;
}

Object::Ptr readText(Object::Ptr object)
{
    ItemRef *ref = liveItem(object);
    return ref ? wrap(ref->index.data(Qt::DisplayRole).toString()) : Object::Ptr();
}

Object::Ptr readRow(Object::Ptr object)
{
    ItemRef *ref = liveItem(object);
    return ref ? Inspector::self()->createPrimitive(ref->index.row()) : Object::Ptr();
}

Object::Ptr readColumn(Object::Ptr object)
{
    ItemRef *ref = liveItem(object);
    return ref ? Inspector::self()->createPrimitive(ref->index.column()) : Object::Ptr();
}

bool isSelected(const ItemRef *ref)
{
    if (ref->combo)
        return ref->combo->currentIndex() == ref->index.row()
            && ref->combo->rootModelIndex() == ref->index.parent();
    QItemSelectionModel *selection = ref->view->selectionModel();
    return selection && selection->isSelected(ref->index);
}

bool isChecked(const ItemRef *ref)
{
    return ref->index.data(Qt::CheckStateRole).toInt() == Qt::Checked;
}

Object::Ptr readSelected(Object::Ptr object)
{
    ItemRef *ref = liveItem(object);
    return ref ? Inspector::self()->createPrimitive(isSelected(ref)) : Object::Ptr();
}

Object::Ptr readChecked(Object::Ptr object)
{
    ItemRef *ref = liveItem(object);
    return ref ? Inspector::self()->createPrimitive(isChecked(ref)) : Object::Ptr();
}

Object::Ptr readContainer(Object::Ptr object)
{
    ItemRef *ref = liveItem(object);
    if (!ref)
        return Object::Ptr();
    return ref->combo ? wrapQObject(ref->combo) : wrapQObject(ref->view);
}

// Selecting through the selection model as the view would for a click, without the click.
bool writeSelected(Object::Ptr object, Object::Ptr value)
{
    ItemRef *ref = liveItem(object);
    if (!ref || !value)
        return false;
    const bool select = value->toBoolean();
    if (ref->combo) {
        if (select)
            ref->combo->setCurrentIndex(ref->index.row());
        return true;
    }
    QItemSelectionModel *selection = ref->view->selectionModel();
    if (!selection)
        return false;
    QItemSelectionModel::SelectionFlags flags = select ? QItemSelectionModel::Select
                                                       : QItemSelectionModel::Deselect;
    if (select && ref->view->selectionMode() != QAbstractItemView::MultiSelection)
        flags |= QItemSelectionModel::Clear;
    if (ref->view->selectionBehavior() == QAbstractItemView::SelectRows)
        flags |= QItemSelectionModel::Rows;
    else if (ref->view->selectionBehavior() == QAbstractItemView::SelectColumns)
        flags |= QItemSelectionModel::Columns;
    if (select)
        selection->setCurrentIndex(ref->index, flags);
    else
        selection->select(ref->index, flags);
    return true;
}

bool writeChecked(Object::Ptr object, Object::Ptr value)
{
    ItemRef *ref = liveItem(object);
    if (!ref || !value)
        return false;
    auto *model = const_cast<QAbstractItemModel *>(ref->index.model());
    return model->setData(ref->index, value->toBoolean() ? Qt::Checked : Qt::Unchecked, Qt::CheckStateRole);
}

// The class of item objects. Items are not QObjects: each object owns an ItemRef that follows the item
// while the model moves it and notices when it is removed.
class ItemClass : public Class
{
public:
    ItemClass()
        : Class("QModelIndex", true)
    {
        setNumProperties(6);
        setNumMethods(0);
        setNumConstructors(0);
        setNumEvents(0);
        setNumEnums(0);
    }

    void initSuperClass() override { setSuperClass(nullptr); }

    Property *createProperty(int index) const override
    {
        Inspector *insp = Inspector::self();
        const unsigned int r = PropertyDeclaration::Readable;
        const unsigned int rw = r | PropertyDeclaration::Writable;
        const Argument text(insp->type(Inspector::Char), ObjectAttribute::Pointer);
        const Argument number(insp->type(Inspector::Int));
        const Argument flag(insp->type(Inspector::Bool));
        const Argument widget(classForMetaObject(&QWidget::staticMetaObject), ObjectAttribute::Pointer);
        PropertyDeclaration *decl = nullptr;
        switch (index) {
        case 0:
            decl = new PropertyDeclaration(this, text, QStringLiteral("text"), r, readText, nullptr);
            break;
        case 1:
            decl = new PropertyDeclaration(this, number, QStringLiteral("row"), r, readRow, nullptr);
            break;
        case 2:
            decl = new PropertyDeclaration(this, number, QStringLiteral("column"), r, readColumn, nullptr);
            break;
        case 3:
            decl = new PropertyDeclaration(this, flag, QStringLiteral("selected"), rw, readSelected,
                                           writeSelected);
            break;
        case 4:
            decl = new PropertyDeclaration(this, flag, QStringLiteral("checked"), rw, readChecked,
                                           writeChecked);
            break;
        case 5:
            decl = new PropertyDeclaration(this, widget, QStringLiteral("container"), r, readContainer,
                                           nullptr);
            break;
        default:
            return nullptr;
        }
        return new Property(decl, this, index, true);
    }

    void deleteObjectData(void *data, const ObjectAttribute &) const override
    {
        delete static_cast<ItemRef *>(data);
    }

    bool sameObjects(Object::Ptr a, Object::Ptr b) const override
    {
        const ItemRef *x = itemOf(a);
        const ItemRef *y = itemOf(b);
        return x && y && x->view == y->view && x->index == y->index;
    }
};

Object::Ptr makeItem(QAbstractItemView *view, QComboBox *combo, const QModelIndex &index)
{
    auto *ref = new ItemRef { view, combo, QPersistentModelIndex(index) };
    Object::Ptr object(new Object(ref, itemClass(), ObjectAttribute(ObjectAttribute::Pointer)));
    object->ownsData = true;
    return object;
}

QComboBox *comboOfView(QAbstractItemView *view)
{
    for (QObject *p = view ? view->parent() : nullptr; p; p = p->parent()) {
        if (auto *combo = qobject_cast<QComboBox *>(p))
            return combo->view() == view ? combo : nullptr;
    }
    return nullptr;
}

// A view to search: the view, the combo box whose pop-up it is, and the index its items hang under.
struct ViewScope
{
    QAbstractItemView *view;
    QComboBox *combo;
    QModelIndex root;
};

QVector<ViewScope> viewsIn(QObject *container)
{
    QVector<ViewScope> views;
    auto add = [&views](QAbstractItemView *view) {
        if (!view->model())
            return;
        QComboBox *combo = comboOfView(view);
        views.append({ view, combo, combo ? combo->rootModelIndex() : view->rootIndex() });
    };
    if (auto *combo = qobject_cast<QComboBox *>(container)) {
        if (auto *view = combo->view())
            add(view);
        return views;
    }
    if (auto *view = qobject_cast<QAbstractItemView *>(container)) {
        add(view);
        return views;
    }
    const QObjectList roots = container ? QObjectList { container } : childObjects(nullptr);
    for (QObject *root : roots) {
        for (QAbstractItemView *view : root->findChildren<QAbstractItemView *>()) {
            // Pop-ups of combo boxes are reached through their combo box only.
            if (!comboOfView(view) && view->isVisible())
                add(view);
        }
    }
    return views;
}

bool boolMatches(const PropertyValue &value, bool state)
{
    return state ? value.matches(QStringLiteral("true")) || value.matches(QStringLiteral("1"))
                 : value.matches(QStringLiteral("false")) || value.matches(QStringLiteral("0"));
}

// The properties of a name an item is tested against; type and container choose the views instead.
struct ItemQuery
{
    QVector<QPair<QString, PropertyValue>> checks;
    int occurrence = 1;

    explicit ItemQuery(const ObjectName &name)
        : occurrence(name.occurrenceValue())
    {
        const QMap<QString, PropertyValue> &props = name.properties();
        for (auto it = props.constBegin(); it != props.constEnd(); ++it) {
            if (it.key() != QLatin1String("type") && it.key() != QLatin1String("container")
                && it.key() != QLatin1String("occurrence"))
                checks.append({ it.key(), it.value() });
        }
    }

    static bool check(const QString &key, const PropertyValue &value, const ViewScope &scope,
                      const QModelIndex &index)
    {
        if (key == QLatin1String("text"))
            return value.matches(index.data(Qt::DisplayRole).toString());
        if (key == QLatin1String("row"))
            return value.matches(QString::number(index.row()));
        if (key == QLatin1String("column"))
            return value.matches(QString::number(index.column()));
        if (key == QLatin1String("selected")) {
            const ItemRef ref { scope.view, scope.combo, QPersistentModelIndex(index) };
            return boolMatches(value, isSelected(&ref));
        }
        if (key == QLatin1String("checked"))
            return boolMatches(value, index.data(Qt::CheckStateRole).toInt() == Qt::Checked);
        return false;
    }

    QStringList failures(const ViewScope &scope, const QModelIndex &index) const
    {
        QStringList failed;
        for (const auto &c : checks) {
            if (!check(c.first, c.second, scope, index))
                failed.append(c.first);
        }
        return failed;
    }
};

// Every item under \p root, depth-first, row by row and cell by cell, children after their parent;
// \p visit returns false to stop.
bool walkItems(const ViewScope &scope, const QModelIndex &root, int *budget,
               const std::function<bool(const QModelIndex &)> &visit)
{
    const QAbstractItemModel *model = scope.view->model();
    const int rows = model->rowCount(root);
    const int columns = model->columnCount(root);
    for (int r = 0; r < rows; ++r) {
        for (int c = 0; c < columns; ++c) {
            if (--*budget < 0)
                return false;
            const QModelIndex index = model->index(r, c, root);
            if (!visit(index))
                return false;
            if (c == 0 && model->hasChildren(index) && !walkItems(scope, index, budget, visit))
                return false;
        }
    }
    return true;
}

// The views a name's container gives; false when the container names nothing.
bool scopesOf(const ObjectName &name, QObject *scope, QVector<ViewScope> *views)
{
    const QMap<QString, PropertyValue> &props = name.properties();
    auto it = props.constFind(QStringLiteral("container"));
    if (it == props.constEnd()) {
        *views = viewsIn(scope);
        return true;
    }
    QObject *container = NameMatcher::resolveReference(it.value(), false, 1);
    if (!container)
        return false;
    *views = viewsIn(container);
    return true;
}

QString cleanMenuText(QString text)
{
    const int tab = text.indexOf(QLatin1Char('\t'));
    if (tab >= 0)
        text.truncate(tab);
    text.replace(QStringLiteral("&&"), QString(QChar(1)));
    text.remove(QLatin1Char('&'));
    text.replace(QChar(1), QLatin1Char('&'));
    return text.trimmed();
}

// The menu bar or menu that shows \p menu's title action, or null for a menu that stands alone.
QWidget *holderOfMenu(QMenu *menu)
{
    const QList<QWidget *> holders = menu->menuAction()->associatedWidgets();
    for (QWidget *w : holders) {
        if (qobject_cast<QMenuBar *>(w))
            return w;
    }
    for (QWidget *w : holders) {
        if (qobject_cast<QMenu *>(w) && w != menu)
            return w;
    }
    return nullptr;
}

QRect actionRect(QWidget *container, QAction *action)
{
    if (auto *bar = qobject_cast<QMenuBar *>(container))
        return bar->actionGeometry(action);
    if (auto *menu = qobject_cast<QMenu *>(container))
        return menu->actionGeometry(action);
    return QRect();
}

// Clicks \p action in its open menu or its menu bar; waits for the submenu it opens, when it has one.
QString clickMenuAction(QWidget *container, QAction *action, bool opensSubmenu)
{
    const QString item = cleanMenuText(action->text());
    if (!action->isVisible())
        return QStringLiteral("the menu item '%1' is hidden").arg(item);
    if (!action->isEnabled())
        return QStringLiteral("the menu item '%1' is disabled").arg(item);
    const QRect rect = actionRect(container, action);
    if (!rect.isValid())
        return QStringLiteral("the menu item '%1' is not shown").arg(item);
    QString error = clickableAt(container, rect.center());
    if (!error.isEmpty())
        return error;
    activateWindowOf(container);
    QMenu *submenu = opensSubmenu ? action->menu() : nullptr;
    error = clickWidget(container, rect.center(), Qt::LeftButton, Qt::NoModifier);
    if (!error.isEmpty())
        return error;
    if (submenu && !waitUntil([submenu]() { return submenu->isVisible(); }, PopupTimeoutMs))
        return QStringLiteral("the menu '%1' did not open").arg(item);
    return QString();
}

// Opens the menus leading to \p menu from the visible menu bar or menu that holds it; false when it
// hangs under nothing that is shown.
QString openMenu(QMenu *menu)
{
    if (menu->isVisible())
        return QString();
    QWidget *holder = holderOfMenu(menu);
    if (!holder)
        return QStringLiteral("the menu '%1' is not open").arg(cleanMenuText(menu->title()));
    if (auto *parentMenu = qobject_cast<QMenu *>(holder)) {
        const QString error = openMenu(parentMenu);
        if (!error.isEmpty())
            return error;
    } else if (!holder->isVisible()) {
        return QStringLiteral("the menu bar is hidden");
    }
    return clickMenuAction(holder, menu->menuAction(), true);
}

Object::Ptr activateMenuItemFunction(const ObjectList &args, const Class *)
{
    const Object::Ptr object = args.empty() ? Object::Ptr() : args[0];
    const QString path = args.size() > 1 && args[1] ? args[1]->toString() : QString();
    QObject *o = qobjectOf(object);
    if (!o || !o->isWidgetType())
        return failCall(
            QStringLiteral("Cannot activate menu item '%1': the object is no menu bar, menu or window")
                .arg(path));
    const QString error = activateMenuPath(static_cast<QWidget *>(o), path);
    if (!error.isEmpty())
        return failCall(
            QStringLiteral("Cannot activate menu item '%1' of '%2': %3").arg(path, printableName(o), error));
    return Inspector::self()->voidObject();
}

} // namespace

const Class *itemClass()
{
    static const Class *s_class = new ItemClass;
    return s_class;
}

ItemRef *itemOf(const Object::Ptr &object)
{
    if (!object || object->isNull() || object->objectClass() != itemClass())
        return nullptr;
    return static_cast<ItemRef *>(object->rawData());
}

QString itemDisplayName(const Object::Ptr &item)
{
    const ItemRef *ref = itemOf(item);
    if (!ref || !ref->alive())
        return QStringLiteral("a removed item");
    const QString real = itemRealName(ref->view, ref->index);
    ObjectMap *map = ObjectMap::self();
    return map ? map->printableName(real) : real;
}

bool isItemName(const ObjectName &name)
{
    const QMap<QString, PropertyValue> &props = name.properties();
    auto it = props.constFind(QStringLiteral("type"));
    return it != props.constEnd() && it.value().value() == QLatin1String("QModelIndex");
}

Object::Ptr findItem(const ObjectName &name, QObject *scope, bool report)
{
    Inspector *insp = Inspector::self();
    const QString key = name.qualifiedName();
    if (report)
        insp->removeUnmatchedProperties(key);
    QVector<ViewScope> views;
    if (!scopesOf(name, scope, &views)) {
        if (report)
            insp->setUnmatchedProperties(key, { QStringLiteral("container") });
        return Object::Ptr();
    }
    const ItemQuery query(name);
    int seen = 0;
    QStringList best;
    bool haveBest = false;
    for (const ViewScope &view : views) {
        QModelIndex found;
        int budget = MaxItemsPerView;
        walkItems(view, view.root, &budget, [&](const QModelIndex &index) {
            const QStringList failed = query.failures(view, index);
            if (failed.isEmpty()) {
                if (++seen == query.occurrence) {
                    found = index;
                    return false;
                }
            } else if (report && (!haveBest || failed.size() < best.size())) {
                best = failed;
                haveBest = true;
            }
            return true;
        });
        if (found.isValid())
            return makeItem(view.view, view.combo, found);
    }
    if (report) {
        if (seen > 0 || query.occurrence <= 0)
            best = QStringList { QStringLiteral("occurrence") };
        else if (!haveBest)
            best = QStringList { QStringLiteral("container") };
        best.sort();
        insp->setUnmatchedProperties(key, best);
    }
    return Object::Ptr();
}

QString itemRealName(QAbstractItemView *view, const QModelIndex &index)
{
    if (!view || !index.isValid())
        return QString();
    QComboBox *combo = comboOfView(view);
    const auto plain = [](const QString &text) {
        return PropertyValue(text, PropertyValue::Equals, PropertyValue::PlainText);
    };
    QMap<QString, PropertyValue> props;
    props.insert(QStringLiteral("type"), plain(QStringLiteral("QModelIndex")));
    props.insert(QStringLiteral("container"),
                 PropertyValue(realName(combo ? static_cast<QWidget *>(combo) : view), PropertyValue::Equals,
                               PropertyValue::NestedName));
    const QString text = index.data(Qt::DisplayRole).toString();
    if (!text.isEmpty())
        props.insert(QStringLiteral("text"), plain(text));
    else
        props.insert(QStringLiteral("row"), plain(QString::number(index.row())));
    if (index.column() != 0)
        props.insert(QStringLiteral("column"), plain(QString::number(index.column())));

    // An occurrence when other items of the view match first.
    const ObjectName name(props);
    const ItemQuery query(name);
    const ViewScope scope { view, combo, combo ? combo->rootModelIndex() : view->rootIndex() };
    int position = 0;
    int budget = MaxItemsPerView;
    walkItems(scope, scope.root, &budget, [&](const QModelIndex &candidate) {
        if (query.failures(scope, candidate).isEmpty())
            ++position;
        return candidate != index;
    });
    if (position > 1)
        props.insert(QStringLiteral("occurrence"), plain(QString::number(position)));
    return ObjectName(props).qualifiedName();
}

QAbstractItemView *viewOfViewport(QWidget *widget)
{
    auto *view = widget ? qobject_cast<QAbstractItemView *>(widget->parentWidget()) : nullptr;
    return view && view->viewport() == widget ? view : nullptr;
}

QString itemInputTarget(const Object::Ptr &item, InputTarget *target)
{
    ItemRef *ref = itemOf(item);
    if (!ref || !ref->alive())
        return QStringLiteral("the item is no longer in its view");
    QAbstractItemView *view = ref->view;
    if (QComboBox *combo = ref->combo) {
        if (!view->isVisible()) {
            // Opened as a person opens it: a click on the combo box.
            const QString error = clickableAt(combo, combo->rect().center());
            if (!error.isEmpty())
                return error;
            activateWindowOf(combo);
            clickWidget(combo, combo->rect().center(), Qt::LeftButton, Qt::NoModifier);
            QPointer<QAbstractItemView> guard(view);
            if (!waitUntil([guard]() { return !guard || guard->isVisible(); }, PopupTimeoutMs) || !guard)
                return QStringLiteral("the pop-up of the combo box did not open");
            // The pop-up ignores a release close to where it was opened for a moment; a person's pointer
            // travels across it first.
            const QRect area = view->viewport()->rect();
            moveMouse(view->viewport(), area.topLeft());
            moveMouse(view->viewport(), area.bottomRight());
        }
    } else if (!view->isVisible()) {
        return QStringLiteral("the view is hidden");
    }
    view->scrollTo(ref->index);
    flushInput();
    if (!ref->alive())
        return QStringLiteral("the item is no longer in its view");
    const QRect rect = view->visualRect(ref->index).intersected(view->viewport()->rect());
    if (rect.isEmpty())
        return QStringLiteral("the item is not shown in its view");
    target->widget = view->viewport();
    target->rect = rect;
    target->itemEnabled = (ref->index.flags() & Qt::ItemIsEnabled) != 0;
    return QString();
}

QString menuPath(QAction *action, QWidget **root)
{
    QStringList parts { cleanMenuText(action->text()) };
    QWidget *holder = nullptr;
    for (QWidget *w : action->associatedWidgets()) {
        if (qobject_cast<QMenu *>(w) || qobject_cast<QMenuBar *>(w)) {
            holder = w;
            break;
        }
    }
    while (auto *menu = qobject_cast<QMenu *>(holder)) {
        QWidget *up = holderOfMenu(menu);
        if (!up)
            break;
        parts.prepend(cleanMenuText(menu->menuAction()->text()));
        holder = up;
    }
    if (root)
        *root = holder;
    return parts.join(QLatin1Char('|'));
}

QString actionInputTarget(QAction *action, InputTarget *target)
{
    if (!action->isVisible())
        return QStringLiteral("the action is hidden");
    if (!action->isEnabled())
        return QStringLiteral("the action is disabled");
    const QList<QWidget *> widgets = action->associatedWidgets();
    // Where a person sees it now first, then a menu that a shown menu bar or menu leads to.
    for (QWidget *w : widgets) {
        if ((qobject_cast<QMenu *>(w) || qobject_cast<QMenuBar *>(w)) && w->isVisible()) {
            target->widget = w;
            target->rect = actionRect(w, action);
            return QString();
        }
        if (auto *bar = qobject_cast<QToolBar *>(w)) {
            QWidget *button = bar->widgetForAction(action);
            if (button && button->isVisible()) {
                target->widget = button;
                target->rect = button->rect();
                return QString();
            }
        }
    }
    QString error = QStringLiteral("the action is in no open menu, menu bar or tool bar");
    for (QWidget *w : widgets) {
        auto *menu = qobject_cast<QMenu *>(w);
        if (!menu || !holderOfMenu(menu))
            continue;
        error = openMenu(menu);
        if (error.isEmpty()) {
            target->widget = menu;
            target->rect = menu->actionGeometry(action);
            return QString();
        }
    }
    return error;
}

QString activateMenuPath(QWidget *start, const QString &path)
{
    QWidget *container = nullptr;
    if (qobject_cast<QMenuBar *>(start) || qobject_cast<QMenu *>(start))
        container = start;
    else
        container = start->window()->findChild<QMenuBar *>(QString(), Qt::FindDirectChildrenOnly);
    if (!container)
        return QStringLiteral("the window has no menu bar");
    if (!container->isVisible())
        return qobject_cast<QMenu *>(container) ? QStringLiteral("the menu is not open")
                                                : QStringLiteral("the menu bar is hidden");
    const QStringList parts = path.split(QLatin1Char('|'));
    for (int i = 0; i < parts.size(); ++i) {
        const QString wanted = cleanMenuText(parts.at(i));
        QAction *found = nullptr;
        QStringList offered;
        for (QAction *a : container->actions()) {
            if (a->isSeparator())
                continue;
            const QString text = cleanMenuText(a->text());
            offered.append(text);
            if (!found && text == wanted)
                found = a;
        }
        if (!found)
            return QStringLiteral("there is no item '%1' in '%2' (it has: %3)")
                .arg(wanted, i == 0 ? QStringLiteral("the menu bar") : parts.mid(0, i).join(QLatin1Char('|')),
                     offered.join(QStringLiteral(", ")));
        const bool last = i + 1 == parts.size();
        if (!last && !found->menu())
            return QStringLiteral("'%1' opens no submenu").arg(wanted);
        QPointer<QMenu> next = found->menu();
        const QString error = clickMenuAction(container, found, !last);
        if (!error.isEmpty())
            return error;
        if (last)
            break;
        if (!next)
            return QStringLiteral("the menu '%1' went away").arg(wanted);
        container = next;
    }
    flushInput();
    return QString();
}

void registerItemFunctions()
{
    itemClass();
    addGlobalFunction(activateMenuItemFunction, "activateMenuItem",
                      Signature(objectParameter("object"), textParameter("path")));
}

} // namespace QtWrapper
} // namespace Vexil
