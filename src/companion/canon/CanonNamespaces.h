#pragma once

#include "companion/canon/CanonQName.h"
#include "companion/xml/PrefixStack.h"
#include "companion/xml/XmlToken.h"

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

class XmlDtd;

// The namespace declarations in scope at the element being read, and the
// ones already written on its output ancestors (what makes a declaration
// superfluous). Both are stacks with one level per open element.
class CanonNamespaces {
public:
    struct Binding {
        std::string_view prefix; // empty for the default namespace
        XmlSpan value;           // in the scanned text, or in the decoded store
        XmlSpan declaration;     // its canonical form, " xmlns:p=\"uri\"", in the declaration store
        bool decoded = false;
    };

    explicit CanonNamespaces(const XmlDtd& dtd) : m_dtd(dtd) {
        // Made for every canonicalization: what most documents need is taken
        // at once rather than grown a step at a time.
        m_levels.reserve(kUsualDepth);
        m_declarations.reserve(kUsualDeclarationBytes);
    }

    void openElement() {
        m_levels.push_back(Level{static_cast<uint32_t>(m_bindings.size()), static_cast<uint32_t>(m_rendered.size()),
                                 static_cast<uint32_t>(m_decoded.size()),
                                 static_cast<uint32_t>(m_declarations.size())});
    }
    void closeElement();

    // A declaration on the element just opened.
    void declare(std::string_view prefix, const XmlAttribute& declaration);
    // The innermost binding of prefix, or null when it is undeclared.
    const Binding* find(std::string_view prefix) const { return m_bindings.find(prefix); }
    // Whether the element just opened declares prefix itself.
    bool declaredHere(std::string_view prefix) const {
        const Binding* binding = m_bindings.find(prefix);
        return binding && m_bindings.indexOf(binding) >= levelStart();
    }
    // Valid until the next declare().
    std::string_view uri(const Binding& binding) const;
    // The binding as a canonical namespace attribute with its leading blank;
    // for the stand-in binding of an undeclared default namespace, xmlns="".
    // Valid until the next declare().
    std::string_view declarationText(const Binding& binding) const {
        if (binding.declaration.length == 0)
            return kEmptyDefaultDeclaration;
        return std::string_view(m_declarations).substr(binding.declaration.offset, binding.declaration.length);
    }
    std::span<const Binding> declaredHere() const { return m_bindings.itemsFrom(levelStart()); }
    // One binding per prefix in scope (the innermost), appended to out.
    void collectInScope(std::vector<Binding>& out) const;

    // True when the nearest output ancestor already renders the binding's
    // prefix with its URI. With nothing rendered the default namespace is the
    // empty one.
    bool isRendered(const Binding& binding) const {
        const Binding* rendered = m_rendered.find(binding.prefix);
        if (!rendered)
            return binding.prefix.empty() && uri(binding).empty();
        // The same declaration, as on most elements, spares comparing URIs.
        const bool sameDeclaration = rendered->decoded == binding.decoded &&
                                     rendered->value.offset == binding.value.offset &&
                                     rendered->value.length == binding.value.length;
        return sameDeclaration || uri(*rendered) == uri(binding);
    }
    void markRendered(const Binding& binding) { m_rendered.push(binding); }

private:
    static constexpr std::string_view kEmptyDefaultDeclaration = " xmlns=\"\"";
    static constexpr size_t kUsualDepth = 16;
    static constexpr size_t kUsualDeclarationBytes = 512;

    XmlSpan writeDeclaration(const Binding& binding);
    size_t levelStart() const { return m_levels.empty() ? 0 : m_levels.back().bindings; }

    struct Level {
        uint32_t bindings;
        uint32_t rendered;
        uint32_t decodedBytes;
        uint32_t declarationBytes;
    };
    void dropDeclarations(const Level& level);

    const XmlDtd& m_dtd;
    PrefixStack<Binding> m_bindings;
    PrefixStack<Binding> m_rendered;
    std::vector<Level> m_levels;
    // URIs written with references, decoded; truncated as elements close.
    std::string m_decoded;
    // Each declaration written out once, when declared: an exclusive
    // canonical form repeats it on every element that uses its prefix.
    std::string m_declarations;
    std::string m_scratch;
};

inline void CanonNamespaces::closeElement() {
    const Level level = m_levels.back();
    m_levels.pop_back();
    m_rendered.truncate(level.rendered);
    // Most elements declare nothing.
    if (m_bindings.size() != level.bindings)
        dropDeclarations(level);
}
