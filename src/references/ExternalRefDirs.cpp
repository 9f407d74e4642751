#include "references/ExternalRefDirs.h"

#include "companion/text/ExtPtrArray.h"
#include "companion/text/XString.h"

void splitExternalRefDirs(const XString& dirs, ExtPtrArraySb& out) {
    ExtPtrArraySb parts;
    dirs.getUtf8Sb().split(parts, ';', false, false);
    for (int i = 0; i < parts.getSize(); ++i) {
        StringBuffer* dir = parts.sbAt(i);
        dir->trim2();
        if (!dir->isEmpty())
            out.appendSb(dir->view());
    }
}
