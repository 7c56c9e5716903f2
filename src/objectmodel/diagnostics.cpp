// diagnostics.cpp: the replaceable handler of diagnostics and its default, standard error.
#include "diagnostics.h"

#include <cstdio>
#include <mutex>
#include <utility>

namespace Vexil {

namespace {

std::mutex s_handlerMutex;
DiagnosticHandler s_handler;

void writeToStderr(const QString &text, bool endsLine)
{
    const QByteArray bytes = text.toUtf8();
    std::fprintf(stderr, endsLine ? "%s\n" : "%s", bytes.constData());
}

} // namespace

DiagnosticHandler setDiagnosticHandler(DiagnosticHandler handler)
{
    std::lock_guard<std::mutex> lock(s_handlerMutex);
    std::swap(s_handler, handler);
    return handler;
}

void diagnostic(const QString &text, bool endsLine)
{
    DiagnosticHandler handler;
    {
        // A copy, so that a handler may itself install another one.
        std::lock_guard<std::mutex> lock(s_handlerMutex);
        handler = s_handler;
    }
    if (handler)
        handler(text, endsLine);
    else
        writeToStderr(text, endsLine);
}

} // namespace Vexil
