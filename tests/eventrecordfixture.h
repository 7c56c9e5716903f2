// eventrecordfixture.h: the event record with every field set, shared by the unit tests and the fuzz seeds
// so that the seeds stay what the tests stream. Header-only: the fuzz build links neither gtest nor the
// test support library.
#ifndef VEXIL_EVENTRECORDFIXTURE_H
#define VEXIL_EVENTRECORDFIXTURE_H

#include "eventdata.h"
#include "inspector.h"

#include <QStringList>
#include <QTime>

namespace VexilTest {

/// An event record with every field set and arguments of kinds 2 (enum) and 1 (object with one plain
/// sub-argument); kFullEventRecordHex is its stream form written out by hand.
inline Vexil::EventData fullEventRecord()
{
    using namespace Vexil;
    Inspector *insp = Inspector::self();
    EventData rec;
    rec.eventName = QStringLiteral("tap");
    rec.objectId = QStringLiteral("btn");
    rec.timeStamp = QTime(0, 0, 1);
    rec.extraText = QStringLiteral("x");
    rec.argumentTexts = QStringList { QStringLiteral("a") };
    rec.extraValue = 7;
    rec.itemText = QStringLiteral("it");

    EventDataArg mode(QStringLiteral("mode"), insp->type(Inspector::Int));
    mode.kind = EventDataArg::EnumValue;
    mode.enumName = QStringLiteral("E");
    mode.value = QStringLiteral("5");
    mode.keys = QStringList { QStringLiteral("A"), QStringLiteral("C") };

    FVector<EventDataArg> subs(1);
    subs[0] = EventDataArg(QStringLiteral("x"), insp->type(Inspector::Double));
    subs[0].value = QStringLiteral("3");
    subs[0].typeId = 1;
    EventDataArg pos(QStringLiteral("pos"), nullptr);
    pos.setArguments(subs);

    rec.arguments.resize(2);
    rec.arguments[0] = mode;
    rec.arguments[1] = pos;
    return rec;
}

constexpr const char *kFullEventRecordHex =
    "00000000" // type: event
    "00000006 0074 0061 0070" // eventName "tap"
    "00000006 0062 0074 006e" // objectId "btn"
    "000003e8" // timeStamp 00:00:01
    "00000002 0078" // second text "x"
    "00000001 00000002 0061" // argumentTexts ["a"]
    "00000002" // two arguments
    "00000008 006d 006f 0064 0065 00000001 00000002" // "mode", int, kind 2
    "00000002 0045 00000002 0035" //   enumName "E", value "5"
    "00000002 00000002 0041 00000002 0043" //   keys ["A", "C"]
    "00000006 0070 006f 0073 ffffffff 00000001" // "pos", no class, kind 1
    "00000001" //   one sub-argument:
    "00000002 0078 00000005 00000000 00000002 0033 00000001" // "x", double, kind 0, "3", typeId 1
    "00000007" // integer field
    "00000004 0069 0074"; // itemText "it"

} // namespace VexilTest

#endif // VEXIL_EVENTRECORDFIXTURE_H
