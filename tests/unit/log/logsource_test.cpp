#include <gtest/gtest.h>

#include <shlobj.h>
#include <winsvc.h>
#include <regex>

#include "src/amdsdk/amdsdktask.h"
#include "src/amdsdk/utility.h"
#include "src/nvmlinfo/dynamicnvml.h"
#include "src/nvmlinfo/nvmlinfotask.h"
#include "src/process/msgloopprocess.h"
#include "src/zorvaneprocess.h"
#include "tests/support/fakeplatform.h"
#include "tests/support/fakeservices.h"
#include "tests/support/importpatch.h"
#include "tests/support/testlog.h"

namespace {

// Each source that logs, as its lines are seen in the file: the stamp, the level, the line number
// in four places, the source's base name, the message.
class LogSource : public testing::Test {
  protected:
    std::string FirstLine() const {
        for (const std::string& line : m_log.Lines()) {
            if (line.find("[E][I]") != std::string::npos) {
                return line;
            }
        }
        return "no line";
    }

    void ExpectFirstLine(const std::string& source, const std::string& message) const {
        const std::string line = FirstLine();
        const std::string end = "][" + source + "] " + message;
        const std::regex begin(
            R"(\d\d-\d\d \d\d:\d\d:\d\d\.\d\d\d \[[ \d]{5}\]\[[ \d]{5}\]\[E\]\[I\]\[[ \d]{3}\d)");
        ASSERT_TRUE(line.ends_with(end)) << line;
        EXPECT_TRUE(std::regex_match(line.substr(0, line.size() - end.size()), begin)) << line;
    }

    CTestLog m_log;
};

}  // namespace

TEST_F(LogSource, OfTheTaskManagerIsZorvaneprocess) {
    // A process without tasks: nothing is loaded and nothing is asked.
    CZorvaneProcess().Uninit();
    ExpectFirstLine("zorvaneprocess", "ZorvaneProcess Uninit. size:0");
}

TEST_F(LogSource, OfTheStubLinkIsMsgloopprocess) {
    CMsgLoopProcess().Init(L"host.exe --entry=100%s", [] {});
    ExpectFirstLine("msgloopprocess", "cmd:host.exe --entry=100%s");
}

TEST_F(LogSource, OfTheHiddenWindowIsMsgloopthread) {
    PATCH_IMPORT(create, CreateWindowExW, [](auto...) -> HWND { return nullptr; });
    CMsgLoopThread().RunLoop();
    ExpectFirstLine("msgloopthread", "Create MsgLoopWnd failed.");
}

TEST_F(LogSource, OfTheNvmlBindingIsDynamicnvml) {
    NvmlApi().Load(L"C:\\no such folder\\Nvml.dll");
    ExpectFirstLine("dynamicnvml", "NVML DLL is not installed or not found at the default path.");
}

TEST_F(LogSource, OfTheNvmlTaskIsNvmlinfotask) {
    CNvmlInfoTask().Execute(nullptr);
    ExpectFirstLine("nvmlinfotask", "NVML gpu count:0");
}

TEST_F(LogSource, OfTheTemperatureTaskIsAmdsdktask) {
    PATCH_IMPORT(admin, IsUserAnAdmin, []() -> BOOL { return FALSE; });
    CAMDSDKTask(&GetPlatform()).Init();
    ExpectFirstLine("amdsdktask", "User is not admin...");
}

TEST_F(LogSource, OfTheMachinesChecksIsUtility) {
    std::vector<std::string> calls;
    CFakeServices services(calls);
    services.errors["OpenServiceW"] = {ERROR_SERVICE_DOES_NOT_EXIST};
    QueryDrvService();
    ExpectFirstLine("utility", "OpenService error. 1060");
}
