#pragma once

#include "companion/log/LogBase.h"
#include "companion/text/DataBuffer.h"
#include "companion/text/RefCountedObject.h"
#include "companion/text/StringBuffer.h"
#include "companion/xml/ClsXml.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace xml_test {

// The document's root, or null (the log then holds the reason).
inline RefPtr<ClsXml> load(std::string_view text, LogBase& log, bool autoTrim = false) {
    RefPtr<ClsXml> xml(ClsXml::createNewCls());
    if (!xml->loadXml(text, autoTrim, log))
        return RefPtr<ClsXml>();
    return xml;
}

inline RefPtr<ClsXml> load(std::string_view text) {
    LogBase log;
    return load(text, log);
}

inline int errorCount(const LogBase& log) {
    int n = 0;
    for (const LogBase::Entry& e : log.entries())
        n += e.kind == LogBase::Kind::Error;
    return n;
}

// The one error with which loading `text` fails (a test failure when it
// loads or logs more).
inline std::string firstError(std::string_view text) {
    LogBase log;
    EXPECT_FALSE(load(text, log)) << text;
    EXPECT_EQ(errorCount(log), 1) << text;
    return log.firstError();
}

// The document's bytes as the library reads them: in UTF-8, without BOMs.
inline std::string utf8Of(const std::string& bytes) {
    DataBuffer data;
    data.append(bytes);
    LogNull log;
    data.convertXmlToUtf8(log);
    return data.takeString();
}

inline std::string content(const ClsXml& e) {
    StringBuffer sb;
    e.get_Content(sb);
    return std::string(sb.view());
}

inline std::string attr(const ClsXml& e, const char* name) {
    StringBuffer sb;
    e.getAttrValue(name, sb);
    return std::string(sb.view());
}

inline std::string serialized(const ClsXml& e) {
    StringBuffer sb;
    LogNull log;
    e.getXml(false, sb, log);
    return std::string(sb.view());
}

// Everything the tree's readers can see, element by element, as one string:
// two documents with equal dumps are the same tree.
inline void appendDump(const ClsXml& e, std::string& out) {
    out.append("<").append(e.tag());
    StringBuffer name;
    StringBuffer value;
    for (int i = 0; i < e.get_NumAttributes(); ++i) {
        e.getAttributeName(i, name);
        e.getAttributeValue(i, value);
        out.append(" ").append(name.view()).append("=[").append(value.view()).append("]");
    }
    out.append(">[").append(content(e)).append("]");
    for (int i = 0; i < e.get_NumChildren(); ++i) {
        RefPtr<ClsXml> child(e.GetChild(i));
        appendDump(*child, out);
    }
    out.append("</>");
}

inline std::string dump(const ClsXml& e) {
    std::string out;
    appendDump(e, out);
    return out;
}

} // namespace xml_test
