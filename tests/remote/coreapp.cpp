// coreapp: a Qt program with a QCoreApplication and no widgets, for the agent to refuse.
#include <QCoreApplication>
#include <QTimer>

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    QTimer::singleShot(20000, &app, &QCoreApplication::quit); // never outlives a forgotten test
    return app.exec();
}
