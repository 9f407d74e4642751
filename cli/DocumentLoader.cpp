#include "DocumentLoader.h"

#include "api/DocumentLoading.h"

#include "companion/text/DataBuffer.h"

bool loadDocumentFile(ClsXmlDSig& dsig, const std::string& path, std::string& error) {
    DataBuffer bytes;
    return xmldsig::readDocumentFile(path, bytes, error) && xmldsig::loadDocument(dsig, bytes, path, error);
}
