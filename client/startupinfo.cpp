#include "client/startupinfo.h"

#include <cstddef>

namespace zorvane {

CStartupInfo::~CStartupInfo() {
    if (m_info.lpAttributeList != nullptr) {
        DeleteProcThreadAttributeList(m_info.lpAttributeList);
    }
}

std::optional<CallError> CStartupInfo::Prepare() {
    m_info.StartupInfo.cb = sizeof(m_info);
    m_info.StartupInfo.dwFlags = STARTF_USESTDHANDLES;

    // A GUI program has no standard error, nor has a program that has closed it.
    const HANDLE self = GetCurrentProcess();
    if (!DuplicateHandle(self, GetStdHandle(STD_ERROR_HANDLE), self, &m_inherited, 0, TRUE,
                         DUPLICATE_SAME_ACCESS)) {
        return std::nullopt;
    }
    m_standardError.reset(m_inherited);
    m_info.StartupInfo.hStdError = m_inherited;

    SIZE_T size = 0;
    InitializeProcThreadAttributeList(nullptr, 1, 0, &size);
    m_attributes.resize(size);
    auto* list = reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(m_attributes.data());
    if (!InitializeProcThreadAttributeList(list, 1, 0, &size)) {
        return LastCallError("InitializeProcThreadAttributeList");
    }
    m_info.lpAttributeList = list;
    if (!UpdateProcThreadAttribute(list, 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST, &m_inherited,
                                   sizeof(m_inherited), nullptr, nullptr)) {
        return LastCallError("UpdateProcThreadAttribute");
    }
    return std::nullopt;
}

}  // namespace zorvane
