// touchxml.cpp: the XML form of gestures: writing, the hardening pre-scan of foreign text, and reading.
#include "touchbuilder.h"

#include <tinyxml.h>

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>
#include <locale>
#include <new>
#include <sstream>

namespace Vexil {

namespace {

const char kDocumentName[] = "<anonymous xml document>";

// Limits for text we did not write ourselves. TinyXML parses recursively, keeps every attribute in a
// list it searches linearly, and spends a few hundred bytes per node, so depth, attributes per
// element and node count are bounded before it sees the text. Real gestures stay far below.
const size_t kMaxXmlBytes = 16 * 1024 * 1024;
const int kMaxDepth = 100;
const int kMaxAttributes = 64;
const long kMaxNodes = 1000000;

void setError(std::string *error, const std::string &text)
{
    if (error)
        *error = text;
}

// XML writing

void writeNumber(std::ostream &os, float v)
{
    os << v;
}

const char *unitText(MultiTouchInfo::Unit unit)
{
    switch (unit) {
    case MultiTouchInfo::MilliMeter:
        return "mm";
    case MultiTouchInfo::LogicalPoint:
        return "pt";
    default:
        return "px";
    }
}

const char *stateText(TouchPoint::State state)
{
    switch (state) {
    case TouchPoint::Down:
        return "down";
    case TouchPoint::Move:
        return "move";
    case TouchPoint::Up:
        return "up";
    default:
        return "unknown";
    }
}

int writtenTimestamp(const MultiTouchInfo &gesture, int timestamp)
{
    if (!gesture.speedSet)
        return timestamp;
    const double scaled = std::round(double(timestamp) * gesture.speed);
    if (std::isnan(scaled))
        return timestamp;
    if (scaled >= double(INT_MAX))
        return INT_MAX;
    if (scaled <= double(INT_MIN))
        return INT_MIN;
    return int(scaled);
}

// XML reading

GestureXmlError xmlError(const std::string &what)
{
    return GestureXmlError { what, 0, 0 };
}

GestureXmlError xmlError(int row, int column, const std::string &what)
{
    return GestureXmlError { what, row, column };
}

// The one-line text fromXml() reports, naming the document as TinyXML does.
std::string describe(const GestureXmlError &e)
{
    std::ostringstream os;
    os.imbue(std::locale::classic());
    os << "Error in XML data " << kDocumentName;
    if (e.line > 0)
        os << " at line " << e.line << ", column " << e.column;
    os << ": " << e.reason;
    return os.str();
}

GestureXmlError xmlErrorAt(const std::string &text, size_t pos, const std::string &what)
{
    int row = 1;
    size_t lineStart = 0;
    for (size_t i = 0; i < pos && i < text.size(); ++i) {
        if (text[i] == '\n') {
            ++row;
            lineStart = i + 1;
        }
    }
    return xmlError(row, int(pos - lineStart + 1), what);
}

// Checks the bytes are UTF-8 without NUL. TinyXML stops at a NUL (the rest would be lost silently)
// and trusts lead bytes to announce the bytes that follow.
bool checkEncoding(const std::string &text, GestureXmlError *message)
{
    const size_t n = text.size();
    size_t i = 0;
    while (i < n) {
        const unsigned char c = static_cast<unsigned char>(text[i]);
        if (c == 0) {
            *message = xmlErrorAt(text, i, "NUL character in the text");
            return false;
        }
        if (c < 0x80) {
            ++i;
            continue;
        }
        int follow = 0;
        unsigned char low = 0x80, high = 0xBF; // range of the first continuation byte
        if (c >= 0xC2 && c <= 0xDF) {
            follow = 1;
        } else if (c >= 0xE0 && c <= 0xEF) {
            follow = 2;
            if (c == 0xE0)
                low = 0xA0;
            else if (c == 0xED)
                high = 0x9F;
        } else if (c >= 0xF0 && c <= 0xF4) {
            follow = 3;
            if (c == 0xF0)
                low = 0x90;
            else if (c == 0xF4)
                high = 0x8F;
        } else {
            *message = xmlErrorAt(text, i, "invalid UTF-8");
            return false;
        }
        if (i + follow >= n) {
            *message = xmlErrorAt(text, i, "invalid UTF-8");
            return false;
        }
        for (int k = 1; k <= follow; ++k) {
            const unsigned char b = static_cast<unsigned char>(text[i + k]);
            const unsigned char lo = k == 1 ? low : 0x80;
            const unsigned char hi = k == 1 ? high : 0xBF;
            if (b < lo || b > hi) {
                *message = xmlErrorAt(text, i, "invalid UTF-8");
                return false;
            }
        }
        i += follow + 1;
    }
    return true;
}

bool isXmlSpace(char c)
{
    return c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f';
}

bool isNameStart(char c)
{
    const unsigned char u = static_cast<unsigned char>(c);
    return (u >= 'a' && u <= 'z') || (u >= 'A' && u <= 'Z') || u == '_' || u >= 127;
}

bool isNameChar(char c)
{
    return isNameStart(c) || (c >= '0' && c <= '9') || c == '-' || c == '.' || c == ':';
}

bool startsWith(const std::string &text, size_t pos, const char *prefix)
{
    return text.compare(pos, std::strlen(prefix), prefix) == 0;
}

// An XML declaration in the plain form: xml, then name='value' pairs whose values hold only name
// characters. TinyXML reads declarations by its own rules; this form reads the same either way.
bool isPlainDeclaration(const std::string &content)
{
    size_t i = 3; // after "xml"
    const size_t n = content.size();
    while (i < n) {
        const size_t spaceStart = i;
        while (i < n && isXmlSpace(content[i]))
            ++i;
        if (i == n)
            return true;
        if (i == spaceStart || !isNameStart(content[i]))
            return false;
        while (i < n && isNameChar(content[i]))
            ++i;
        while (i < n && isXmlSpace(content[i]))
            ++i;
        if (i == n || content[i] != '=')
            return false;
        ++i;
        while (i < n && isXmlSpace(content[i]))
            ++i;
        if (i == n || (content[i] != '\'' && content[i] != '"'))
            return false;
        const char quote = content[i++];
        while (i < n && content[i] != quote) {
            if (!isNameChar(content[i]))
                return false;
            ++i;
        }
        if (i == n)
            return false;
        ++i;
    }
    return true;
}

// Walks the markup the way TinyXML will and refuses what could make it recurse too deep, work in
// quadratic time or allocate without bound. Markup it would read differently from us is refused
// too, so the depth counted here is the depth it reaches.
bool checkStructure(const std::string &text, GestureXmlError *message)
{
    const size_t n = text.size();
    size_t i = startsWith(text, 0, "\xEF\xBB\xBF") ? 3 : 0;
    int depth = 0;
    long nodes = 0;
    auto fail = [&](size_t pos, const char *what) {
        *message = xmlErrorAt(text, pos, what);
        return false;
    };
    while (i < n) {
        if (text[i] != '<') {
            if (depth == 0 && !isXmlSpace(text[i]))
                return fail(i, "text outside the root element");
            ++i;
            continue;
        }
        if (++nodes > kMaxNodes)
            return fail(i, "too many nodes");
        const size_t start = i;
        if (startsWith(text, i, "<!--")) {
            const size_t end = text.find("-->", i + 4);
            if (end == std::string::npos)
                return fail(start, "unterminated comment");
            i = end + 3;
        } else if (startsWith(text, i, "<![CDATA[")) {
            const size_t end = text.find("]]>", i + 9);
            if (end == std::string::npos)
                return fail(start, "unterminated CDATA section");
            i = end + 3;
        } else if (startsWith(text, i, "<!")) {
            const size_t end = text.find('>', i + 2);
            if (end == std::string::npos)
                return fail(start, "unterminated markup");
            i = end + 1;
        } else if (startsWith(text, i, "<?")) {
            const size_t end = text.find('>', i + 2);
            if (end == std::string::npos)
                return fail(start, "unterminated processing instruction");
            if (end < i + 3 || text[end - 1] != '?')
                return fail(start, "malformed processing instruction");
            const std::string content = text.substr(i + 2, end - 1 - (i + 2));
            if (content.find('<') != std::string::npos)
                return fail(start, "malformed processing instruction");
            const bool declaration = content.size() >= 3 && (content[0] == 'x' || content[0] == 'X')
                && (content[1] == 'm' || content[1] == 'M') && (content[2] == 'l' || content[2] == 'L');
            if (declaration && !isPlainDeclaration(content))
                return fail(start, "malformed XML declaration");
            i = end + 1;
        } else if (startsWith(text, i, "</")) {
            if (depth == 0)
                return fail(start, "end tag without start tag");
            const size_t end = text.find('>', i + 2);
            if (end == std::string::npos)
                return fail(start, "unterminated end tag");
            --depth;
            i = end + 1;
        } else {
            ++i;
            if (i == n)
                return fail(start, "unterminated tag");
            if (!isNameStart(text[i]))
                return fail(start, "malformed tag");
            while (i < n && isNameChar(text[i]))
                ++i;
            int attributes = 0;
            for (;;) {
                while (i < n && isXmlSpace(text[i]))
                    ++i;
                if (i == n)
                    return fail(start, "unterminated tag");
                if (text[i] == '/') {
                    if (i + 1 == n)
                        return fail(start, "unterminated tag");
                    if (text[i + 1] != '>')
                        return fail(i, "malformed tag");
                    i += 2;
                    break;
                }
                if (text[i] == '>') {
                    if (++depth > kMaxDepth)
                        return fail(start, "elements nested too deeply");
                    ++i;
                    break;
                }
                if (!isNameStart(text[i]))
                    return fail(i, "malformed attribute");
                while (i < n && isNameChar(text[i]))
                    ++i;
                while (i < n && isXmlSpace(text[i]))
                    ++i;
                if (i == n)
                    return fail(start, "unterminated tag");
                if (text[i] != '=')
                    return fail(i, "malformed attribute");
                ++i;
                while (i < n && isXmlSpace(text[i]))
                    ++i;
                if (i == n)
                    return fail(start, "unterminated tag");
                if (text[i] != '\'' && text[i] != '"')
                    return fail(i, "attribute value without quotes");
                const size_t end = text.find(text[i], i + 1);
                if (end == std::string::npos)
                    return fail(i, "unterminated attribute value");
                i = end + 1;
                if (++attributes > kMaxAttributes)
                    return fail(start, "too many attributes");
                if (++nodes > kMaxNodes)
                    return fail(start, "too many nodes");
            }
        }
    }
    return true;
}

template <class T>
bool parseNumber(const char *text, T *out)
{
    std::istringstream is(text);
    is.imbue(std::locale::classic());
    T value;
    if (!(is >> value))
        return false;
    is >> std::ws;
    if (!is.eof())
        return false;
    *out = value;
    return true;
}

template <class T>
bool readAttribute(const TiXmlElement *element, const char *name, T *out, GestureXmlError *message)
{
    const char *text = element->Attribute(name);
    if (!text) {
        *message = xmlError(element->Row(), element->Column(),
                            "the element '" + element->ValueStr() + "' has no attribute '" + name + "'");
        return false;
    }
    if (!parseNumber(text, out)) {
        *message = xmlError(element->Row(), element->Column(),
                            std::string("the attribute '") + name + "' of the element '" + element->ValueStr()
                                + "' is not a valid number");
        return false;
    }
    return true;
}

bool readGesture(const TiXmlElement *element, MultiTouchInfo *gesture, GestureXmlError *message)
{
    if (!readAttribute(element, "area-width", &gesture->areaWidth, message)
        || !readAttribute(element, "area-height", &gesture->areaHeight, message))
        return false;
    const char *unit = element->Attribute("unit");
    if (unit && std::strcmp(unit, "mm") == 0)
        gesture->unit = MultiTouchInfo::MilliMeter;
    else if (unit && std::strcmp(unit, "pt") == 0)
        gesture->unit = MultiTouchInfo::LogicalPoint;
    else
        gesture->unit = MultiTouchInfo::Pixel;

    std::vector<int> ids;
    for (const TiXmlElement *s = element->FirstChildElement("sample"); s;
         s = s->NextSiblingElement("sample")) {
        TouchSample sample;
        if (!readAttribute(s, "timestamp", &sample.timestamp, message))
            return false;
        if (!gesture->samples.empty() && sample.timestamp < gesture->samples.back().timestamp) {
            *message = xmlError(s->Row(), s->Column(), "the sample is older than the one before it");
            return false;
        }
        for (const TiXmlElement *p = s->FirstChildElement("point"); p; p = p->NextSiblingElement("point")) {
            TouchPoint point;
            if (!readAttribute(p, "pointer", &point.id, message) || !readAttribute(p, "x", &point.x, message)
                || !readAttribute(p, "y", &point.y, message)
                || !readAttribute(p, "pressure", &point.pressure, message)
                || !readAttribute(p, "size", &point.size, message))
                return false;
            sample.points.push_back(point);
        }
        ids.clear();
        for (const TouchPoint &point : sample.points)
            ids.push_back(point.id);
        std::sort(ids.begin(), ids.end());
        if (std::adjacent_find(ids.begin(), ids.end()) != ids.end()) {
            *message = xmlError(s->Row(), s->Column(), "a pointer appears twice in the sample");
            return false;
        }
        gesture->samples.push_back(std::move(sample));
    }
    // The state is not part of what we read; derive it as sampling does.
    gesture->updatePointerStates();
    return true;
}

bool readGestures(const std::string &xml, std::vector<MultiTouchInfo> *gestures, GestureXmlError *message)
{
    if (xml.size() > kMaxXmlBytes) {
        *message = xmlError("the text is longer than " + std::to_string(kMaxXmlBytes) + " bytes");
        return false;
    }
    if (!checkEncoding(xml, message) || !checkStructure(xml, message))
        return false;

    TiXmlDocument document(kDocumentName);
    document.Parse(xml.c_str(), nullptr, TIXML_ENCODING_UTF8);
    if (document.Error()) {
        // TinyXML gives row 0 when it has no position, as for an empty document.
        *message = document.ErrorRow() > 0
            ? xmlError(document.ErrorRow(), document.ErrorCol(), document.ErrorDesc())
            : xmlError(document.ErrorDesc());
        return false;
    }
    const TiXmlElement *root = document.RootElement();
    if (!root) {
        *message = xmlError("no root element");
        return false;
    }
    if (const TiXmlElement *second = root->NextSiblingElement()) {
        *message = xmlError(second->Row(), second->Column(), "more than one root element");
        return false;
    }
    if (root->ValueStr() != "gestures") {
        *message = xmlError(root->Row(), root->Column(), "the root element is not 'gestures'");
        return false;
    }
    for (const TiXmlElement *e = root->FirstChildElement("multi-point"); e;
         e = e->NextSiblingElement("multi-point")) {
        MultiTouchInfo gesture;
        if (!readGesture(e, &gesture, message))
            return false;
        gestures->push_back(std::move(gesture));
    }
    return true;
}

} // namespace

bool TouchBuilder::fromXml(const std::string &xml, std::string *error, GestureXmlError *details)
{
    GestureXmlError message;
    std::vector<MultiTouchInfo> gestures;
    bool ok;
    try {
        ok = readGestures(xml, &gestures, &message);
    } catch (const std::bad_alloc &) {
        ok = false;
        message = xmlError("out of memory");
    }
    if (!ok) {
        setError(error, describe(message));
        if (details)
            *details = message;
        return false;
    }
    m_gestures.swap(gestures);
    m_strokes.clear();
    return true;
}

std::string TouchBuilder::toXml() const
{
    std::ostringstream os;
    os.imbue(std::locale::classic());
    const char *const indent = "  ";
    os << "<gestures version='1.0'>\n";
    for (const MultiTouchInfo &gesture : m_gestures) {
        os << indent << "<multi-point area-width='";
        writeNumber(os, gesture.areaWidth);
        os << "' area-height='";
        writeNumber(os, gesture.areaHeight);
        os << "' unit='" << unitText(gesture.unit) << "'>\n";
        for (const TouchSample &sample : gesture.samples) {
            os << indent << "<sample timestamp='" << writtenTimestamp(gesture, sample.timestamp) << "'>\n";
            for (const TouchPoint &point : sample.points) {
                os << indent << "  <point pointer='" << point.id << "' x='";
                writeNumber(os, point.x);
                os << "' y='";
                writeNumber(os, point.y);
                os << "' pressure='";
                writeNumber(os, point.pressure);
                os << "' size='";
                writeNumber(os, point.size);
                os << "' state='" << stateText(point.state) << "'/>\n";
            }
            os << indent << "</sample>\n";
        }
        os << indent << "</multi-point>\n";
    }
    os << "</gestures>\n";
    return os.str();
}

} // namespace Vexil
