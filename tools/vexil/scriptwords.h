// scriptwords.h: a .vxs script line split into words, and the words read as model values.
#ifndef VEXIL_TOOL_SCRIPTWORDS_H
#define VEXIL_TOOL_SCRIPTWORDS_H

#include <members.h>
#include <object.h>

#include <QString>
#include <QStringList>

namespace VexilTool {

/// Splits a script line into words: blanks and tabs separate them, double quotes make one word of what
/// they enclose ("" inside stands for one quote). False with \p error naming the column of an unterminated
/// quote.
bool tokenize(const QString &line, QStringList *words, QString *error);

/// The second reading of a word, for parameters and properties that take no text: an integer becomes an
/// int (an int64 when it does not fit, a double when neither does), a decimal number a double, "true" and
/// "false" a truth value. Null for anything else.
Vexil::Object::Ptr typedWord(const QString &word);
/// The word as a text value.
Vexil::Object::Ptr textWord(const QString &word);
/// The typed reading of the word where it has one, else the text.
Vexil::Object::Ptr valueWord(const QString &word);

/// The words as texts; with \p typed, those that spell a number or truth value as that value instead.
/// \p changed tells whether the typed reading differs from the plain one.
Vexil::ObjectList wordArguments(const QStringList &words, bool typed, bool *changed = nullptr);

/// Forgets the model's last error, so that a stale one is not blamed on what comes next.
void clearModelError();

/// Calls the overload set with \p leading and the words, first as texts; when no overload takes them, once
/// more with numbers and truth values read from the words (the model converts neither from text).
Vexil::Object::Ptr invokeWithWords(const Vexil::MethodList &methods, const Vexil::Object::Ptr &object,
                                   const Vexil::ObjectList &leading, const QStringList &words, bool *found);
/// " (takes SIGNATURE or SIGNATURE)", for an error about an overload set that took nothing.
QString overloadHint(const Vexil::MethodList &methods);

} // namespace VexilTool

#endif // VEXIL_TOOL_SCRIPTWORDS_H
