#pragma once

#include "companion/base/ClsBase.h"

#include <nlohmann/json_fwd.hpp>

#include <memory>
#include <string_view>

class LogBase;
class StringBuffer;

// A JSON object: the options a caller hands to operations that take many
// optional settings. Members are looked up by exact name.
class ClsJsonObject : public ClsBase {
public:
    ClsJsonObject();
    ~ClsJsonObject() override;

    // Public call: replaces the content with the parsed text, which must be
    // a JSON object.
    bool Load(XString& json);
    bool load(std::string_view json, LogBase& log);

    // Sets (or replaces) a string member.
    void updateString(std::string_view name, std::string_view value);

    bool hasMember(std::string_view name) const;
    // The member's text; false (out empty) when absent or not a string.
    bool stringOf(std::string_view name, StringBuffer& out) const;
    // The member's value, or the default when absent or of another type.
    long long intOf(std::string_view name, long long defaultValue) const;
    bool boolOf(std::string_view name, bool defaultValue) const;
    // The object as compact JSON text.
    void emit(StringBuffer& out) const;

private:
    const nlohmann::json* member(std::string_view name) const;

    std::unique_ptr<nlohmann::json> m_json;
};
