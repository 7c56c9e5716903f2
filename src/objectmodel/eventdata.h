// eventdata.h: recorded events, calls, comments and application starts with their arguments.
#ifndef VEXIL_EVENTDATA_H
#define VEXIL_EVENTDATA_H

// object.h includes this header at its end, so everything it declares is known here.
#include "object.h"
#include "vexil_export.h"

#include <QString>
#include <QStringList>
#include <QTime>

#include <string>
#include <utility>

class QDataStream;

namespace Vexil {

/// Small owned vector: an element pointer and an unsigned 32-bit count. Copies are element-wise;
/// resize() keeps the leading elements and default-constructs new ones.
template <class T>
class FVector
{
public:
    typedef T *iterator;
    typedef const T *const_iterator;

    FVector()
        : m_data(nullptr)
        , m_size(0)
    {
    }
    explicit FVector(unsigned int n)
        : m_data(n ? new T[n] : nullptr)
        , m_size(n)
    {
    }
    FVector(const FVector &other)
        : m_data(nullptr)
        , m_size(0)
    {
        *this = other;
    }
    FVector(FVector &&other) noexcept
        : m_data(other.m_data)
        , m_size(other.m_size)
    {
        other.m_data = nullptr;
        other.m_size = 0;
    }
    ~FVector() { delete[] m_data; }

    FVector &operator=(const FVector &other)
    {
        if (this == &other)
            return *this;
        if (m_size != other.m_size) {
            // Fresh storage, so that a throwing element copy cannot leave stale elements behind.
            T *fresh = other.m_size ? new T[other.m_size] : nullptr;
            delete[] m_data;
            m_data = fresh;
            m_size = other.m_size;
        }
        for (unsigned int i = 0; i < m_size; ++i)
            m_data[i] = other.m_data[i];
        return *this;
    }
    FVector &operator=(FVector &&other) noexcept
    {
        if (this != &other) {
            delete[] m_data;
            m_data = other.m_data;
            m_size = other.m_size;
            other.m_data = nullptr;
            other.m_size = 0;
        }
        return *this;
    }

    unsigned int size() const { return m_size; }
    bool isEmpty() const { return m_size == 0; }

    void resize(unsigned int n)
    {
        if (n == m_size)
            return;
        T *fresh = n ? new T[n] : nullptr;
        const unsigned int keep = n < m_size ? n : m_size;
        for (unsigned int i = 0; i < keep; ++i)
            fresh[i] = std::move(m_data[i]);
        delete[] m_data;
        m_data = fresh;
        m_size = n;
    }
    void clear() { resize(0); }

    T &operator[](unsigned int i) { return m_data[i]; }
    const T &operator[](unsigned int i) const { return m_data[i]; }

    iterator begin() { return m_data; }
    iterator end() { return m_data + m_size; }
    const_iterator begin() const { return m_data; }
    const_iterator end() const { return m_data + m_size; }

private:
    T *m_data;
    unsigned int m_size;
};

/// One recorded argument, detached from live objects: a value as text (kind 0), an object as the tree of its
/// property values (kind 1) or an enumeration value with its key names (kind 2).
class VEXIL_EXPORT EventDataArg : public Serializable
{
public:
    enum Kind { PlainValue = 0, ObjectValue = 1, EnumValue = 2 };

    /// EventData::createArgument expands an object into its properties down to this many levels of
    /// sub-arguments; an object deeper than that is kept as kind 1 without sub-arguments, so object graphs
    /// that refer back to themselves end.
    static constexpr int maxObjectDepth = 8;
    /// Once one argument's tree holds this many sub-arguments, further objects in it are kept unexpanded as
    /// well, so graphs with many properties leading back cannot grow exponentially within the depth limit.
    static constexpr int maxExpandedArguments = 10000;

    /// Kind 0, no name, classId -1, typeId -1, empty texts and no sub-arguments.
    EventDataArg();
    /// Kind 0 with \p name and the registration index of \p cls (-1 for none); texts, keys and sub-arguments
    /// empty, typeId -1.
    EventDataArg(const QString &name, const Class *cls);
    EventDataArg(const EventDataArg &other);
    EventDataArg(EventDataArg &&other) noexcept;
    EventDataArg &operator=(const EventDataArg &other);
    EventDataArg &operator=(EventDataArg &&other) noexcept;
    ~EventDataArg() override;

    const FVector<EventDataArg> &args() const { return m_args; }
    FVector<EventDataArg> &args() { return m_args; }
    /// Copies \p args as the sub-arguments and makes this argument kind 1.
    void setArguments(const FVector<EventDataArg> &args);

    void writeObject(QDataStream &stream) const override;
    /// Reads what writeObject wrote. On a truncated or corrupt stream the stream's status is set
    /// (ReadPastEnd or ReadCorruptData) and the argument is left as a default-constructed one.
    /// Sub-arguments nested deeper than maxStreamDepth levels count as corrupt data.
    void readObject(QDataStream &stream) override;

    /// Nesting levels of sub-arguments accepted when reading from a stream.
    static constexpr int maxStreamDepth = 64;

    qint32 kind;
    QString name;
    qint32 classId;
    QString value;
    QString enumName;
    qint32 typeId;
    QStringList keys;

private:
    FVector<EventDataArg> m_args;
};

/// One recorded event, method or function call, comment or application start. Every constructed record takes
/// the next number of a process-wide counter (the first record is 0) and the current time of day.
/// Copies keep the index and the time stamp of their source.
class VEXIL_EXPORT EventData : public Serializable
{
public:
    enum Type { EventType = 0, MethodType = 1, CommentType = 2, FunctionType = 3, StartedType = 4 };

    /// Type 0, empty texts and lists, no arguments, extraValue -1.
    EventData();
    /// Type 0: the event's name, \p objectName as objectId, one argument per value with the event's
    /// declared argument name, class and enum (values past the declared ones get none).
    EventData(const Event *event, const QString &objectName, const ObjectList &args);
    /// Type 1. A method of the global class keeps \p objectName as objectId; any other method is recorded as
    /// [findObject "objectName"] name with an empty objectId. Arguments as for events, from the signature.
    EventData(const Method *method, const QString &objectName, const ObjectList &args);
    /// Type 3: a call of \p method without an object.
    EventData(const Method *method, const ObjectList &args);
    /// Type 1 with the given names; the arguments have no name, declared class or enum.
    EventData(const QString &methodName, const QString &objectName, const ObjectList &args);
    /// Type 3 with the arguments as above. The trailing text is accepted for callers that pass one and is not
    /// recorded.
    EventData(const QString &functionName, const ObjectList &args, const QString &);
    /// Type 3 whose arguments are given as texts (argumentTexts). The trailing text is not recorded.
    EventData(const QString &functionName, const QStringList &argumentTexts, const QString &);
    EventData(const EventData &other) = default;
    EventData(EventData &&other) noexcept = default;
    EventData &operator=(const EventData &other) = default;
    EventData &operator=(EventData &&other) noexcept = default;
    ~EventData() override;

    /// Type 2 with the comment text in objectId.
    static EventData fromComment(const QString &text);
    /// Type 4.
    static EventData applicationStarted();

    /// Sets timeStamp to the current time of day.
    void createTimeStamp();

    /// Turns \p value into a detached argument; \p declaredClass and \p enumType are what the parameter
    /// declares (either may be null). Objects are expanded into their properties, bounded by
    /// EventDataArg::maxObjectDepth and EventDataArg::maxExpandedArguments. A null pointer gives kind 0
    /// with an empty value and the declared class's index; so does a property that is not readable, and
    /// every property of a null or invalidated object (nothing is read from it). Never reports an error.
    static EventDataArg createArgument(const QString &name, const Class *declaredClass, const Enum *enumType,
                                       Object::Ptr value);

    /// Same record: the indexes are equal.
    bool operator==(const EventData &other) const { return index == other.index; }
    bool operator!=(const EventData &other) const { return !(*this == other); }
    /// Earlier time stamp first; equal time stamps by index.
    bool operator<(const EventData &other) const;

    /// The record on one line in the local 8-bit encoding, for debugging. A type outside 0 to 4 is headed
    /// "Type <number>:".
    std::string toDebugString() const;

    /// Writes the record in its stream form. The time stamp uses QTime's form for the stream's version;
    /// records are exchanged with QDataStream's default version.
    void writeObject(QDataStream &stream) const override;
    /// Reads what writeObject wrote; only index keeps its value, and a name the record's type does not carry
    /// (the event name of a call, say) is cleared. On a truncated or corrupt stream
    /// the stream's status is set (ReadPastEnd or ReadCorruptData) and every streamed field goes back to
    /// its default (type 0, empty texts and lists, no arguments, a null time stamp, extraValue -1).
    void readObject(QDataStream &stream) override;

    qint32 type;
    QString eventName;
    QString methodName;
    QString objectId;
    FVector<EventDataArg> arguments;
    qint32 index;
    QTime timeStamp;
    QString extraText;
    QStringList argumentTexts;
    qint32 extraValue;
    QString itemText;
};

/// Writes the record's debug text and a line break to standard error.
VEXIL_EXPORT void dumpEventData(const EventData &data);

} // namespace Vexil

#endif // VEXIL_EVENTDATA_H
