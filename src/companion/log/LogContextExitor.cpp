#include "companion/log/LogContextExitor.h"

#include "companion/base/ClsBase.h"

LogContextExitor::LogContextExitor(ClsBase& obj, std::string_view name) : m_log(obj.m_log) {
    m_log.enterContext(name);
}
