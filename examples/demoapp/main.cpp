// demoapp: the demo application with the Qt wrapper installed. With --smoke it drives itself through the
// model once (find a widget, set a property, call a slot, move the window) and exits, which is how CI runs
// it under the offscreen platform.
#include "demomainwindow.h"

#include <inspector.h>
#include <qtwrapper.h>
#include <windowinteractiondelegate.h>

#include <QApplication>
#include <QLabel>

#include <cstdio>
#include <cstring>

namespace {

int smoke(VexilDemo::DemoMainWindow *window)
{
    using namespace Vexil;
    Inspector *insp = Inspector::self();
    const auto fail = [insp](const char *step) {
        std::fprintf(stderr, "demoapp: %s failed: %s\n", step, insp->lastError().toUtf8().constData());
        return 1;
    };

    Object::Ptr name = insp->findObject(QStringLiteral("{type='QLineEdit' name='nameEdit'}"));
    if (!name)
        return fail("finding the name field");
    const Property *text = name->objectClass()->property(QStringLiteral("text"));
    if (!text || !text->set(name, insp->createPrimitive("Ada")))
        return fail("typing a name");

    Object::Ptr ok = insp->findObject(QStringLiteral("mainWindow.centralWidget.form.okButton"));
    if (!ok)
        return fail("finding the OK button");
    bool found = false;
    ok->objectClass()->methods(QStringLiteral("click")).invoke(ok, ObjectList(), &found);
    if (!found)
        return fail("clicking OK");

    Object::Ptr main = QtWrapper::wrapQObject(window);
    if (!moveWindowToByObject(ObjectList { main, insp->createPrimitive(40), insp->createPrimitive(30) }, nullptr))
        return fail("moving the window");

    std::printf("status: %s\nwindow at %d,%d\n", window->statusLabel()->text().toUtf8().constData(),
                window->frameGeometry().x(), window->frameGeometry().y());
    return window->statusLabel()->text() == QLatin1String("Submitted: Ada") ? 0 : 1;
}

} // namespace

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    VexilDemo::DemoMainWindow *window = VexilDemo::createMainWindow();
    window->show();
    Vexil::QtWrapper::install();

    int result = 0;
    if (argc > 1 && std::strcmp(argv[1], "--smoke") == 0)
        result = smoke(window);
    else
        result = app.exec();
    delete window;
    return result;
}
