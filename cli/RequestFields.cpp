#include "RequestFields.h"

#include "CommandLine.h"

namespace {

bool isTrue(const std::string& value) {
    return value.empty() || value == "1" || value == "true" || value == "on" || value == "yes";
}

bool isFalse(const std::string& value) {
    return value == "0" || value == "false" || value == "off" || value == "no";
}

class FieldReader {
public:
    FieldReader(RequestFields& fields, std::string& error) : m_fields(fields), m_error(error) {}

    bool field(const std::string& name, const std::string& value) {
        VerifyChoices& c = m_fields.job.choices;
        if (name == "all") {
            if (!isTrue(value) && !isFalse(value))
                return fail("all takes 1 or 0, got " + value);
            m_all = isTrue(value);
        } else if (name == "signature-id") {
            m_id = value;
        } else if (name == "ades") {
            if (value == "verdict" || isTrue(value))
                c.ades = VerifyChoices::Ades::Verdict;
            else if (value == "full")
                c.ades = VerifyChoices::Ades::Full;
            else if (isFalse(value))
                c.ades = VerifyChoices::Ades::Off;
            else
                return fail("ades takes verdict, full or 0, got " + value);
        } else if (name == "format") {
            if (value != "json" && value != "html")
                return fail("format takes json or html, got " + value);
            m_fields.format = value == "html" ? AnswerFormat::Html : AnswerFormat::Json;
        } else {
            return fail("unknown field " + name);
        }
        return true;
    }

    bool part(BodyPart& part) {
        int index = 0;
        if (part.name == "document") {
            m_fields.job.document = std::move(part.content);
            m_fields.documentName = part.filename.empty() ? "-" : part.filename;
            m_hasDocument = true;
        } else if (part.name == "data" || part.name.starts_with("data-")) {
            if (part.name != "data" && !parseIndex(part.name.substr(5), index))
                return fail("data-N needs a reference index, got " + part.name);
            // A form's empty file input still sends its part.
            if (!part.content.empty() || !part.filename.empty())
                m_fields.job.detachedData.emplace_back(index, std::move(part.content));
        } else {
            return field(part.name, part.content);
        }
        return true;
    }

    bool finish() {
        if (!m_hasDocument)
            return fail("the body holds no part named document");
        if (m_all && !m_id.empty())
            return fail("all and signature-id exclude each other");
        VerifyChoices& c = m_fields.job.choices;
        c.signatureId = m_id;
        c.selection = m_all ? VerifyChoices::Selection::All
                            : (m_id.empty() ? VerifyChoices::Selection::Settings : VerifyChoices::Selection::Id);
        // The report page is the full AdES validation.
        if (m_fields.format == AnswerFormat::Html)
            c.ades = VerifyChoices::Ades::Full;
        return true;
    }

private:
    bool fail(std::string message) {
        m_error = std::move(message);
        return false;
    }

    RequestFields& m_fields;
    std::string& m_error;
    bool m_all = false;
    bool m_hasDocument = false;
    std::string m_id;
};

} // namespace

bool readRequestFields(const std::multimap<std::string, std::string>& query, std::vector<BodyPart> parts,
                       RequestFields& fields, std::string& error) {
    FieldReader reader(fields, error);
    for (const auto& [name, value] : query)
        if (!reader.field(name, value))
            return false;
    for (BodyPart& part : parts)
        if (!reader.part(part))
            return false;
    return reader.finish();
}
