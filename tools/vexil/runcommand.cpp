// runcommand.cpp: "vexil run": a test script of one command a line, run against a Qt program.
#include "cli.h"
#include "commands.h"
#include "scriptrunner.h"
#include "session.h"

namespace VexilTool {

namespace {

const char kRunHelp[] =
    R"HELP(Usage: vexil run SCRIPT [--app "PROGRAM ARGS" | --attach ADDRESS [--token TOKEN]]
                 [--objectmap FILE] [--visible] [--verbose]

Starts PROGRAM under the agent (--app, split like a shell would) or connects to a program started with
"vexil launch" (--attach), loads the object map into it and runs the test script SCRIPT, one command a
line. Without either, the demo application runs inside vexil itself (the tool's own tests use that).

  find NAME                      the object must exist
  get NAME PROPERTY              prints the property's value
  set NAME PROPERTY VALUE        writes the property
  call NAME METHOD [ARG...]      calls the method; a result other than void is printed
  expect NAME PROPERTY VALUE     verification: the property's text must equal VALUE
  window ACTION [NAME] [ARG...]  the window function "_vexil_window_ACTION" on the window NAME: close,
                                 maximize, minimize, restore, moveto X Y, resizeto W H, fullscreen_set,
                                 foreground_set, focus_set, geometry_get; "window focused" takes no NAME
  click NAME [X Y] [BUTTON] [MODIFIERS]
                                 a mouse click at X, Y in the object (its centre without them); BUTTON
                                 left (the default), right or middle; MODIFIERS as in Ctrl+Shift
  doubleclick NAME [X Y] [BUTTON] [MODIFIERS]
                                 a double click, likewise
  type NAME TEXT                 types TEXT into the object; keys in brackets: "Hi<Return>", "<<" for "<"
  key NAME KEY                   presses and releases one key or chord: Return, Ctrl+A, Shift+Tab
  menu NAME PATH                 activates the menu item PATH ("File/Save as...") of a menu bar, menu or
                                 window
  wait NAME [SECONDS]            waits until the object exists, is visible and enabled (default 20 s
                                 times VEXIL_TIMEOUT_FACTOR)
  waitfor NAME PROPERTY VALUE [SECONDS]
                                 waits until the property reads as VALUE, as "expect" compares
  screenshot [NAME] FILE         saves a PNG picture of the object (the first window without NAME)
  record start|stop              records events and calls until "record stop", which prints them
  # text                         a comment (only as the first thing on a line)

NAME is a symbolic name from the object map (:mainWindow.okButton_QPushButton), a multi-property name
({type='QPushButton' text='OK'}) or a dotted path (mainWindow.centralWidget.form.okButton).
Arguments and values are passed as texts and the object model converts them. When no overload (or the
property) takes the texts, words that spell a number are passed as an int (int64 or double when they
need it) and true and false as a bool, and the model converts from there: "moveto W 40 30" works.
Values print as text: application objects by their symbolic (or real) name, arrays as [a, b],
rectangles, points and dates by their properties (x=0 y=0 width=480 height=459); "expect" compares
with that text.

Quoting: words are separated by blanks and tabs. Double quotes make one word of what they enclose,
blanks included, and may be joined to unquoted text; inside them "" stands for one double quote and
everything else, backslashes and single quotes too, is taken literally. "" alone is an empty word.
  find "{type='QPushButton' text='OK'}"
  set :mainWindow.nameEdit_QLineEdit text "Ada ""the first"" Lovelace"

Each failed step prints "SCRIPT:LINE: FAIL <command>: <error>" on standard error and the run goes on.
When the program exits or crashes, that step fails with "application exited with code N" or
"application killed by signal N", and so does every step after it. With --verbose every step that
passes prints "SCRIPT:LINE: PASS <command>". The last line is "N passed, N failed".

Options:
  --app "PROGRAM ARGS"  start PROGRAM under the agent (offscreen unless --visible or QT_QPA_PLATFORM)
  --attach ADDRESS      drive the program "vexil launch" started (local:PATH or tcp:HOST:PORT)
  --token TOKEN         the token "vexil launch --listen" printed, for a tcp: address
  --objectmap FILE      the object map that resolves symbolic names (loaded into the program too)
  --visible             show the application on the display instead of the offscreen platform
  --verbose             a progress line for every step

Exit codes: 0 every step passed, 1 a step failed, 2 usage error, a file that cannot be read or a
program that cannot be started or reached.)HELP";

int run(const Invocation &call)
{
    const QString path = call.positionals().at(0);
    QByteArray script;
    if (!call.read(path, &script))
        return ExitUsage;
    SessionOptions options;
    QString error;
    if (!readSessionOptions(call.args, &options, &error))
        return call.usage(error);
    QByteArray map;
    if (call.args.has(QStringLiteral("--objectmap")) && !call.read(options.objectMap, &map))
        return ExitUsage;

    std::unique_ptr<Session> session = openSession(options, &error);
    if (!session)
        return call.fail(error);
    ScriptRunner runner(path, session.get(), call.args.has(QStringLiteral("--verbose")));
    QString text = QString::fromUtf8(script);
    if (text.startsWith(QChar(0xFEFF))) // a byte order mark some editors write
        text.remove(0, 1);
    return runner.run(text);
}

} // namespace

Command runCommand()
{
    std::vector<OptionDecl> options = sessionOptionDecls();
    options.push_back({ "--verbose", "-v", nullptr });
    return { "run",
             "run SCRIPT [--app \"PROGRAM ARGS\" | --attach ADDRESS [--token TOKEN]] [--objectmap FILE] "
             "[--visible] "
             "[--verbose]",
             "run a test script against a Qt program",
             kRunHelp,
             options,
             1,
             1,
             "missing SCRIPT",
             "expected one SCRIPT",
             run,
             {} };
}

} // namespace VexilTool
