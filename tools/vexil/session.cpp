// session.cpp: the session options of run and tree, and the choice between the two kinds of session.
#include "session.h"

#include "demosession.h"
#include "remotesession.h"

#include <QtGlobal>

namespace VexilTool {

std::vector<OptionDecl> sessionOptionDecls()
{
    return { { "--app", nullptr, "\"PROGRAM ARGS\"" },
             { "--attach", nullptr, "ADDRESS" },
             { "--token", nullptr, "TOKEN" },
             { "--objectmap", nullptr, "FILE" },
             { "--visible", nullptr, nullptr } };
}

bool readSessionOptions(const Args &args, SessionOptions *options, QString *error)
{
    options->app = args.value(QStringLiteral("--app"));
    options->attach = args.value(QStringLiteral("--attach"));
    options->token = args.value(QStringLiteral("--token"));
    options->objectMap = args.value(QStringLiteral("--objectmap"));
    options->visible = args.has(QStringLiteral("--visible"));
    if (args.has(QStringLiteral("--app")) && args.has(QStringLiteral("--attach"))) {
        *error = QStringLiteral("--app and --attach exclude each other");
        return false;
    }
    if (args.has(QStringLiteral("--app")) && options->app.trimmed().isEmpty()) {
        *error = QStringLiteral("--app needs a program");
        return false;
    }
    if (args.has(QStringLiteral("--token")) && !args.has(QStringLiteral("--attach"))) {
        *error = QStringLiteral("--token goes with --attach");
        return false;
    }
    if (args.has(QStringLiteral("--attach")) && args.has(QStringLiteral("--visible"))) {
        *error = QStringLiteral("--visible has no effect on a program already running");
        return false;
    }
    return true;
}

std::unique_ptr<Session> openSession(const SessionOptions &options, QString *error)
{
    std::unique_ptr<Session> session;
    if (!options.app.isEmpty())
        session = RemoteSession::launch(options.app, options.visible, error);
    else if (!options.attach.isEmpty())
        session = RemoteSession::attach(options.attach, options.token, error);
    else
        session = DemoSession::start(options.visible, error);
    if (!session || options.objectMap.isEmpty())
        return session;
    if (!session->localMap().loadFromFile(options.objectMap)) {
        *error = QStringLiteral("cannot open '%1'").arg(options.objectMap);
        return nullptr;
    }
    if (!session->loadObjectMap(options.objectMap, error))
        return nullptr;
    return session;
}

int defaultWaitMs()
{
    bool ok = false;
    const double factor = qEnvironmentVariable("VEXIL_TIMEOUT_FACTOR").toDouble(&ok);
    return int(20000 * (ok && factor > 0 ? factor : 1.0));
}

} // namespace VexilTool
