// main.cpp: the Qt Quick demo program. By default a QGuiApplication with a QML window; with --widgets a
// QApplication whose main window shows the same content in a QQuickWidget under a line edit.
#include <QApplication>
#include <QGuiApplication>
#include <QLineEdit>
#include <QQmlApplicationEngine>
#include <QQuickWidget>
#include <QVBoxLayout>
#include <QWidget>

#include <cstring>
#include <memory>

int main(int argc, char *argv[])
{
    const bool widgets = argc > 1 && std::strcmp(argv[1], "--widgets") == 0;
    if (!widgets) {
        QGuiApplication app(argc, argv);
        QQmlApplicationEngine engine(QUrl(QStringLiteral("qrc:/main.qml")));
        return engine.rootObjects().isEmpty() ? 1 : app.exec();
    }
    QApplication app(argc, argv);
    QWidget window;
    window.setObjectName(QStringLiteral("mixedWindow"));
    window.setWindowTitle(QStringLiteral("Vexil Quick demo with widgets"));
    auto *layout = new QVBoxLayout(&window);
    auto *edit = new QLineEdit(&window);
    edit->setObjectName(QStringLiteral("widgetEdit"));
    auto *quick = new QQuickWidget(&window);
    quick->setObjectName(QStringLiteral("quickWidget"));
    quick->setResizeMode(QQuickWidget::SizeRootObjectToView);
    quick->setSource(QUrl(QStringLiteral("qrc:/DemoContent.qml")));
    quick->setMinimumSize(360, 320);
    layout->addWidget(edit);
    layout->addWidget(quick);
    window.show();
    return app.exec();
}
