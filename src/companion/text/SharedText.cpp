#include "companion/text/SharedText.h"

#include "companion/fs/MappedFile.h"

SharedText SharedText::ofString(std::string&& bytes) {
    SharedText text;
    text.m_string = std::make_shared<const std::string>(std::move(bytes));
    text.m_view = *text.m_string;
    return text;
}

SharedText SharedText::ofFile(std::shared_ptr<const MappedFile> file) {
    SharedText text;
    text.m_view = file->view();
    text.m_file = std::move(file);
    return text;
}

void SharedText::releasePages(size_t begin, size_t end) const {
    if (!m_file)
        return;
    const size_t offset = static_cast<size_t>(m_view.data() - m_file->view().data());
    m_file->releasePages(offset + begin, offset + end);
}
