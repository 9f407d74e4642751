#pragma once

#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// libxml2 as the oracle of the canonicalizer tests: a document parsed the
// way `xmllint --c14n` parses it (entities substituted, DTD attribute
// defaults applied), except that nothing outside the document is read.
namespace libxml2_canon {

struct Settings {
    bool exclusive = false;
    bool withComments = false;
    std::vector<std::string> inclusivePrefixes; // "#default" for the default namespace
    bool c14n11 = false;                        // Canonical XML 1.1 (inclusive)
};

class Document {
public:
    // Null when libxml2 does not accept the document.
    static std::unique_ptr<Document> parse(std::string_view bytes);
    ~Document();
    Document(const Document&) = delete;
    Document& operator=(const Document&) = delete;

    // The whole document; nullopt when libxml2 refuses to canonicalize it.
    std::optional<std::string> canonicalize(const Settings& settings) const;
    // The subtree of the first element whose Id, ID or id attribute (any
    // namespace) has this value, as the node-set of a same-document
    // reference: the element, its descendants, their attributes and
    // namespace nodes.
    std::optional<std::string> canonicalizeFragment(const Settings& settings, std::string_view id) const;

    // The distinct Id/ID/id values, in document order, at most `limit`.
    std::vector<std::string> idValues(size_t limit) const;

private:
    struct Impl;
    explicit Document(std::unique_ptr<Impl> impl);
    std::unique_ptr<Impl> m_impl;
};

} // namespace libxml2_canon
