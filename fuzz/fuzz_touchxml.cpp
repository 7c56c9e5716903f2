// fuzz_touchxml.cpp: gesture files read by TouchBuilder::fromXml.
// Input: the XML text.
#include "fuzzsupport.h"

#include "touchbuilder.h"

#include <string>

using namespace Vexil;

extern "C" int LLVMFuzzerInitialize(int *, char ***)
{
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const std::string xml(reinterpret_cast<const char *>(data), size);
    TouchBuilder builder;
    builder.addStroke(0, 1.0f, 2.0f);
    const std::string before = builder.toXml();
    std::string error;
    if (!builder.fromXml(xml, &error)) {
        // A failed read says why and changes nothing.
        FUZZ_CHECK(error.compare(0, 18, "Error in XML data ") == 0);
        FUZZ_CHECK(builder.toXml() == before);
        FUZZ_CHECK(builder.hasStrokes());
        return 0;
    }
    FUZZ_CHECK(!builder.hasStrokes());

    // What was read writes XML that reads back to the same XML.
    const std::string written = builder.toXml();
    TouchBuilder again;
    std::string againError;
    FUZZ_CHECK(again.fromXml(written, &againError));
    FUZZ_CHECK(again.toXml() == written);
    FUZZ_CHECK(again.gestures().size() == builder.gestures().size());
    for (size_t g = 0; g < builder.gestures().size(); ++g) {
        const MultiTouchInfo &a = builder.gestures()[g];
        const MultiTouchInfo &b = again.gestures()[g];
        FUZZ_CHECK(a.unit == b.unit && a.samples.size() == b.samples.size());
        for (size_t s = 0; s < a.samples.size(); ++s) {
            FUZZ_CHECK(a.samples[s].timestamp == b.samples[s].timestamp);
            FUZZ_CHECK(a.samples[s].points.size() == b.samples[s].points.size());
            for (size_t p = 0; p < a.samples[s].points.size(); ++p) {
                FUZZ_CHECK(a.samples[s].points[p].id == b.samples[s].points[p].id);
                FUZZ_CHECK(a.samples[s].points[p].state == b.samples[s].points[p].state);
            }
        }
        a.looksLikeLineSegment(1.0f);
    }
    return 0;
}
