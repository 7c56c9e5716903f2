// scriptwords.cpp: the .vxs quoting rule and the two readings of a word.
#include "scriptwords.h"

#include <inspector.h>

#include <QRegularExpression>

namespace VexilTool {

bool tokenize(const QString &line, QStringList *tokens, QString *error)
{
    QString current;
    bool inToken = false;
    int i = 0;
    const int n = line.size();
    while (i < n) {
        const QChar c = line.at(i);
        if (c == QLatin1Char(' ') || c == QLatin1Char('\t')) {
            if (inToken)
                tokens->append(current);
            current.clear();
            inToken = false;
            ++i;
            continue;
        }
        inToken = true;
        if (c != QLatin1Char('"')) {
            current += c;
            ++i;
            continue;
        }
        const int open = i++;
        for (;;) {
            if (i >= n) {
                *error = QStringLiteral("unterminated quote (opened at column %1)").arg(open + 1);
                return false;
            }
            if (line.at(i) == QLatin1Char('"')) {
                if (i + 1 < n && line.at(i + 1) == QLatin1Char('"')) {
                    current += QLatin1Char('"');
                    i += 2;
                    continue;
                }
                ++i;
                break;
            }
            current += line.at(i++);
        }
    }
    if (inToken)
        tokens->append(current);
    return true;
}

Vexil::Object::Ptr typedWord(const QString &word)
{
    Vexil::Inspector *insp = Vexil::Inspector::self();
    static const QRegularExpression integer(QStringLiteral("\\A[+-]?[0-9]+\\z"));
    static const QRegularExpression decimal(
        QStringLiteral("\\A[+-]?([0-9]+\\.?[0-9]*|\\.[0-9]+)([eE][+-]?[0-9]+)?\\z"));
    bool ok = false;
    if (integer.match(word).hasMatch()) {
        const int i = word.toInt(&ok);
        if (ok)
            return insp->createPrimitive(i);
        const qlonglong l = word.toLongLong(&ok);
        if (ok)
            return insp->createPrimitive(static_cast<long long>(l));
    }
    if (decimal.match(word).hasMatch()) {
        const double d = word.toDouble(&ok);
        if (ok)
            return insp->createPrimitive(d);
    }
    if (word == QLatin1String("true") || word == QLatin1String("false"))
        return insp->createPrimitive(word == QLatin1String("true"));
    return Vexil::Object::Ptr();
}

Vexil::Object::Ptr textWord(const QString &word)
{
    return Vexil::Inspector::self()->createPrimitive(word.toUtf8().constData());
}

Vexil::Object::Ptr valueWord(const QString &word)
{
    const Vexil::Object::Ptr typed = typedWord(word);
    return typed ? typed : textWord(word);
}

Vexil::ObjectList wordArguments(const QStringList &words, bool typed, bool *changed)
{
    Vexil::ObjectList args;
    if (changed)
        *changed = false;
    for (const QString &word : words) {
        Vexil::Object::Ptr value = typed ? typedWord(word) : Vexil::Object::Ptr();
        if (value && changed)
            *changed = true;
        args.push_back(value ? value : textWord(word));
    }
    return args;
}

Vexil::Object::Ptr invokeWithWords(const Vexil::MethodList &methods, const Vexil::Object::Ptr &object,
                                   const Vexil::ObjectList &leading, const QStringList &words, bool *found)
{
    Vexil::ObjectList args = leading;
    for (const Vexil::Object::Ptr &a : wordArguments(words, false))
        args.push_back(a);
    Vexil::Object::Ptr result = methods.invoke(object, args, found);
    bool changed = false;
    const Vexil::ObjectList typed = wordArguments(words, true, &changed);
    if (*found || !changed)
        return result;
    clearModelError();
    args = leading;
    for (const Vexil::Object::Ptr &a : typed)
        args.push_back(a);
    return methods.invoke(object, args, found);
}

QString overloadHint(const Vexil::MethodList &methods)
{
    QStringList signatures;
    for (const Vexil::Method *m : methods) {
        if (m)
            signatures.append(m->toString());
    }
    return signatures.isEmpty()
        ? QString()
        : QStringLiteral(" (takes ") + signatures.join(QStringLiteral(" or ")) + QLatin1Char(')');
}

void clearModelError()
{
    // Reading the error is what clears it.
    Vexil::Inspector::self()->lastError();
}

} // namespace VexilTool
