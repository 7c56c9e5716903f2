// A program built against the installed package: it only needs find_package(Vexil) and <vexil.h>.
#include <vexil.h>

#include <cstdio>

int main()
{
    Vexil::Inspector *inspector = Vexil::Inspector::self();
    Vexil::Object::Ptr answer = inspector->createPrimitive(42);
    std::printf("%d classes registered; the answer is %s\n", inspector->numClasses(),
                answer->toString().toUtf8().constData());
    return inspector->numClasses() >= 16 && answer->toInteger() == 42 ? 0 : 1;
}
