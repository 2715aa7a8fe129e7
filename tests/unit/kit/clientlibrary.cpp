#include "tests/unit/kit/clientlibrary.h"

#include <filesystem>
#include <stdexcept>

#include "base/modulepath.h"
#include "base/text.h"
#include "tests/support/buildfolder.h"

namespace {

constexpr uint32_t kWaitMs = 30000;

template <typename Function>
void Bind(HMODULE module, const char* name, Function& function) {
    const FARPROC address = GetProcAddress(module, name);
    if (!address) {
        throw std::runtime_error(std::string("no export ") + name);
    }
    function = reinterpret_cast<Function>(reinterpret_cast<void*>(address));
}

}  // namespace

CClientLibrary::CClientLibrary() {
    std::filesystem::copy_file(BuildFolder(L"bin") + L"\\zorvaneclient.dll",
                               m_folder.PathOf(L"zorvaneclient.dll"));
    Load();
}

CClientLibrary::~CClientLibrary() { Free(); }

void CClientLibrary::Load() {
    m_module = LoadLibraryW(m_folder.PathOf(L"zorvaneclient.dll").c_str());
    if (!m_module) {
        throw std::runtime_error("zorvaneclient.dll cannot be loaded");
    }
    Bind(m_module, "zorvane_client_version", version);
    Bind(m_module, "zorvane_open", open);
    Bind(m_module, "zorvane_start", start);
    Bind(m_module, "zorvane_stop", stop);
    Bind(m_module, "zorvane_pause", pause);
    Bind(m_module, "zorvane_resume", resume);
    Bind(m_module, "zorvane_next_event", nextEvent);
    Bind(m_module, "zorvane_close", close);
    Bind(m_module, "zorvane_result_text", resultText);
    Bind(m_module, "zorvane_event_name", eventName);
}

void CClientLibrary::Free() {
    if (m_module) {
        FreeLibrary(m_module);
    }
    m_module = nullptr;
}

bool CClientLibrary::IsLoaded() const {
    return GetModuleHandleW(m_folder.PathOf(L"zorvaneclient.dll").c_str()) != nullptr;
}

CTestSession::CTestSession(CClientLibrary& library, const std::string& script,
                           const std::function<void(ZorvaneOptions& options)>& change)
    : m_library(library) {
    const std::string host = zorvane::ToUtf8(zorvane::ModuleFolder(nullptr) + L"fakeworker.exe");
    ZorvaneOptions options{};
    options.size = sizeof(options);
    options.host = host.c_str();
    options.words = script.c_str();
    if (change) {
        change(options);
    }
    ZorvaneError error{};
    error.size = sizeof(error);
    if (m_library.open(&options, &m_session, &error) != kZorvaneOk) {
        throw std::runtime_error(std::string(error.call.text) + ": " + error.text.text);
    }
}

CTestSession::~CTestSession() { m_library.close(m_session); }

ZorvaneEvent CTestSession::Next() const {
    ZorvaneEvent event{};
    event.size = sizeof(event);
    m_library.nextEvent(m_session, &event, kWaitMs);
    return event;
}

ZorvaneEvent CTestSession::NextOf(ZorvaneEventType type) const {
    ZorvaneEvent event = Next();
    while (event.type != 0 && event.type != type) {
        event = Next();
    }
    return event;
}

std::vector<ZorvaneEvent> CTestSession::UntilEnd() const {
    std::vector<ZorvaneEvent> events;
    do {
        events.push_back(Next());
    } while (events.back().type != 0 && events.back().type != kZorvaneEventEnd);
    return events;
}

std::vector<ZorvaneEventType> TypesOf(const std::vector<ZorvaneEvent>& events) {
    std::vector<ZorvaneEventType> types;
    for (const ZorvaneEvent& event : events) {
        types.push_back(event.type);
    }
    return types;
}
