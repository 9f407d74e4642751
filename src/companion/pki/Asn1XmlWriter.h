#pragma once

#include <cstddef>
#include <string>
#include <string_view>

class LogBase;

// Writes the XML of one BER/DER encoded ASN.1 node (see Asn1XmlCodec for
// the form).
class Asn1XmlWriter {
public:
    explicit Asn1XmlWriter(bool compact) : m_compact(compact) {}

    // Appends the XML of the node at the start of der; `used` gets the
    // node's length in bytes. False, with an error line, when the bytes are
    // not well-formed ASN.1.
    bool write(std::string_view der, std::string& xml, size_t& used, LogBase& log);

private:
    struct Node;
    static Node describe(int tag, int tagClass, int headerBits);
    bool node(const unsigned char*& p, const unsigned char* end, int depth, std::string& xml, LogBase& log);
    bool children(const unsigned char*& p, const unsigned char* end, bool indefinite, int depth, std::string& xml,
                  LogBase& log);
    void primitive(Node& n, std::string_view content, int depth, std::string& xml) const;
    void startTag(const Node& n, int depth, bool selfClosing, std::string& xml) const;
    void endTag(const Node& n, int depth, std::string& xml) const;
    void indent(int depth, std::string& xml) const;
    void newline(std::string& xml) const;
    bool fail(std::string_view message, const unsigned char* at, LogBase& log) const;

    bool m_compact;
    const unsigned char* m_begin = nullptr;
};
