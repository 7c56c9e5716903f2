// fuzzsupport.h: what every fuzz target shares: the model set up once, input helpers and the check that
// turns a wrong answer into a crash the fuzzer reports.
#ifndef VEXIL_FUZZSUPPORT_H
#define VEXIL_FUZZSUPPORT_H

#include <QByteArray>
#include <QDataStream>
#include <QString>

#include <cstddef>
#include <cstdint>
#include <cstdio>

// A property every input must keep. The fuzzer treats the trap as a crash and saves the input.
#define FUZZ_CHECK(cond)                                                                                     \
    do {                                                                                                     \
        if (!(cond)) {                                                                                       \
            std::fprintf(stderr, "%s:%d: property violated: %s\n", __FILE__, __LINE__, #cond);               \
            std::fflush(stderr);                                                                             \
            __builtin_trap();                                                                                \
        }                                                                                                    \
    } while (0)

namespace VexilFuzz {

/// Builds the base model once; call from LLVMFuzzerInitialize.
void initialize();

/// Consumes bytes from the front of the input, giving zeros once it runs out.
class Input
{
public:
    Input(const uint8_t *data, size_t size)
        : m_data(data)
        , m_size(size)
    {
    }
    uint8_t byte()
    {
        if (m_size == 0)
            return 0;
        --m_size;
        return *m_data++;
    }
    QByteArray rest() const { return QByteArray(reinterpret_cast<const char *>(m_data), int(m_size)); }

private:
    const uint8_t *m_data;
    size_t m_size;
};

/// The bytes \p writer writes to a fresh stream of the default version.
template <class Writer>
QByteArray written(Writer writer)
{
    QByteArray bytes;
    QDataStream out(&bytes, QIODevice::WriteOnly);
    writer(out);
    return bytes;
}

} // namespace VexilFuzz

#endif // VEXIL_FUZZSUPPORT_H
