#pragma once

#include "RequestBody.h"
#include "VerifyJob.h"

#include <map>
#include <string>

enum class AnswerFormat { Json, Html };

// What a verification request asks for, read from its query parameters and,
// in a multipart body, from its text fields: `all`, `signature-id`, `ades`
// (verdict, full or 0), `format` (json or html); and the document and its
// detached data (`data` for reference 0, `data-N` for reference N).
struct RequestFields {
    VerifyJob job;
    AnswerFormat format = AnswerFormat::Json;
    std::string documentName = "-";
};

// False with `error` set on a field this server does not know or a value it
// cannot take; the body's parts are moved into the job.
bool readRequestFields(const std::multimap<std::string, std::string>& query, std::vector<BodyPart> parts,
                       RequestFields& fields, std::string& error);
