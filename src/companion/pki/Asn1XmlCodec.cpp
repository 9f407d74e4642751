#include "companion/pki/Asn1XmlCodec.h"

#include "companion/log/LogBase.h"
#include "companion/log/LogContextExitor.h"
#include "companion/pki/Asn1DerWriter.h"
#include "companion/pki/Asn1XmlWriter.h"
#include "companion/text/DataBuffer.h"
#include "companion/text/StringBuffer.h"

namespace {

constexpr std::string_view kXmlDecl = "<?xml version=\"1.0\" encoding=\"utf-8\"?>";

} // namespace

bool Asn1XmlCodec::derToXml(const DataBuffer& der, bool withXmlDecl, bool compact, StringBuffer& xmlOut,
                            unsigned* bytesUsed, LogBase& log) {
    LogContextExitor ctx(log, "derToXml");
    xmlOut.clear();
    std::string xml;
    if (withXmlDecl) {
        xml.append(kXmlDecl);
        if (!compact)
            xml.push_back('\n');
    }
    size_t used = 0;
    if (!Asn1XmlWriter(compact).write(der.view(), xml, used, log))
        return false;
    if (!bytesUsed && used != der.getSize()) {
        log.LogError("Bytes follow the ASN.1 value.");
        log.LogDataLong("numExtraBytes", der.getSize() - used);
        return false;
    }
    if (bytesUsed)
        *bytesUsed = static_cast<unsigned>(used);
    xmlOut.setString(xml);
    return true;
}

bool Asn1XmlCodec::xmlToDer(const ClsXml& node, DataBuffer& der, LogBase& log) {
    LogContextExitor ctx(log, "xmlToDer");
    der.clear();
    std::string bytes;
    if (!Asn1DerWriter::write(node, bytes, log))
        return false;
    der.takeString(std::move(bytes));
    return true;
}
