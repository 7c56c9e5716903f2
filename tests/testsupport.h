// testsupport.h: helpers shared by the unit tests (stderr capture, readable QString failures).
#ifndef VEXIL_TESTSUPPORT_H
#define VEXIL_TESTSUPPORT_H

#include <QString>
#include <QByteArray>
#include <gtest/gtest.h>
#include <ostream>
#include <string>

QT_BEGIN_NAMESPACE
inline void PrintTo(const QString &s, std::ostream *os)
{
    *os << '"' << s.toStdString() << '"';
}
inline void PrintTo(const QByteArray &b, std::ostream *os)
{
    *os << "QByteArray(" << b.toHex().toStdString() << ')';
}
QT_END_NAMESPACE

namespace VexilTest {

/// Redirects file descriptor 2 into a temporary file while alive; text() reads what was written so far.
class StderrCapture
{
public:
    StderrCapture();
    ~StderrCapture();
    std::string text() const;

private:
    StderrCapture(const StderrCapture &) = delete;
    StderrCapture &operator=(const StderrCapture &) = delete;
    int m_savedFd;
    std::FILE *m_file;
};

} // namespace VexilTest

#endif // VEXIL_TESTSUPPORT_H
