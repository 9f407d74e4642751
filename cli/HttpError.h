#pragma once

#include <httplib.h>

#include <string>

// An error answer: its HTTP status, a stable code for programs and a sentence
// for people.
struct HttpError {
    int status = 400;
    std::string code;
    std::string message;
};

// {"error": {"code": ..., "message": ...}}
void answerJsonError(httplib::Response& response, const HttpError& error);
// The same for a person at the upload page: a small page with the message.
void answerHtmlError(httplib::Response& response, const HttpError& error);
// Ends the connection once `response` is written: what is left of a refused
// body is not read (httplib would take it for the next request).
void closeAfter(httplib::Response& response);
// What the server says for a status it set without a body of its own:
// malformed HTTP, an unknown path, a URI too long.
HttpError errorForStatus(int status);
