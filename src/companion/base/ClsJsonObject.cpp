#include "companion/base/ClsJsonObject.h"

#include "companion/log/LogContextExitor.h"

#include <nlohmann/json.hpp>

ClsJsonObject::ClsJsonObject() : m_json(std::make_unique<nlohmann::json>(nlohmann::json::object())) {
}

ClsJsonObject::~ClsJsonObject() = default;

bool ClsJsonObject::Load(XString& json) {
    CritSecExitor lock(m_critSec);
    LogContextExitor ctx(*this, "Load");
    m_log.clearLastJsonData();
    const bool ok = load(json.view(), m_log);
    logSuccessFailure(ok);
    return ok;
}

bool ClsJsonObject::load(std::string_view json, LogBase& log) {
    nlohmann::json parsed = nlohmann::json::parse(json, nullptr, false);
    if (parsed.is_discarded()) {
        log.LogError("The text is not valid JSON.");
        return false;
    }
    if (!parsed.is_object()) {
        log.LogError("The JSON text is not an object.");
        return false;
    }
    *m_json = std::move(parsed);
    return true;
}

void ClsJsonObject::updateString(std::string_view name, std::string_view value) {
    (*m_json)[std::string(name)] = std::string(value);
}

const nlohmann::json* ClsJsonObject::member(std::string_view name) const {
    const auto it = m_json->find(name);
    return it == m_json->end() ? nullptr : &*it;
}

bool ClsJsonObject::hasMember(std::string_view name) const {
    return member(name) != nullptr;
}

bool ClsJsonObject::stringOf(std::string_view name, StringBuffer& out) const {
    out.clear();
    const nlohmann::json* value = member(name);
    if (!value || !value->is_string())
        return false;
    out.setString(value->get_ref<const std::string&>());
    return true;
}

long long ClsJsonObject::intOf(std::string_view name, long long defaultValue) const {
    const nlohmann::json* value = member(name);
    return value && value->is_number_integer() ? value->get<long long>() : defaultValue;
}

bool ClsJsonObject::boolOf(std::string_view name, bool defaultValue) const {
    const nlohmann::json* value = member(name);
    return value && value->is_boolean() ? value->get<bool>() : defaultValue;
}

void ClsJsonObject::emit(StringBuffer& out) const {
    out.setString(m_json->dump());
}
