// vexil-demo: the demo application as an ordinary Qt Widgets program. It knows nothing of Vexil; tests and
// the README's example reach it through the agent (vexil launch -- vexil-demo).
#include "demomainwindow.h"

#include <QApplication>

#include <memory>

int main(int argc, char **argv)
{
    QApplication app(argc, argv);
    std::unique_ptr<VexilDemo::DemoMainWindow> window(VexilDemo::createMainWindow());
    window->show();
    return app.exec();
}
