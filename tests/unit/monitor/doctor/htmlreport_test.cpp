#include "monitor/doctor/htmlreport.h"

#include <windows.h>

#include <bcrypt.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "monitor/doctor/masking.h"
#include "monitor/doctor/sha256.h"
#include "tests/support/importpatch.h"
#include "tests/support/tempfolder.h"
#include "tests/unit/monitor/doctor/machines.h"

namespace zorvane {

using testing::HasSubstr;
using testing::Not;

namespace {

std::string Html(const MachineFacts& facts, bool mask = true) {
    const Findings findings = Decide(facts);
    return HtmlReport(facts, findings, Judge(findings), {{facts.library, "abc123"}}, mask);
}

MachineFacts MachineWithALog(const std::string& line) {
    MachineFacts facts = HealthyMachine();
    facts.log.lastRun.emplace();
    facts.log.lastRun->lines = {{line, Meaning("amd.not_admin", "It needs administrator rights.")}};
    return facts;
}

TEST(HtmlReportTest, HasNoScriptAndNothingFromElsewhere) {
    const std::string html = Html(MachineWithALog("a line"));
    for (const char* foreign : {"<script", "<img", "<link", "<iframe", "http:", "https:", "src=\"",
                                "href=", "url(", "@import", "javascript:"}) {
        EXPECT_THAT(html, Not(HasSubstr(foreign)));
    }
    EXPECT_THAT(html, HasSubstr("Content-Security-Policy\" content=\"default-src 'none'"));
}

TEST(HtmlReportTest, PutsWhatFailsFirst) {
    MachineFacts facts = HealthyMachine();
    facts.amdSwitch.on = false;
    facts.log.folderExists = false;
    const std::string html = Html(facts);
    const size_t fail = html.find("run.switch");
    const size_t warn = html.find("log.folder");
    const size_t pass = html.find("files.host");
    const size_t skip = html.find("nvml.probe");
    EXPECT_LT(fail, warn);
    EXPECT_LT(warn, pass);
    EXPECT_LT(pass, skip);
    EXPECT_NE(skip, std::string::npos);
}

TEST(HtmlReportTest, TextFromOutsideIsNoMarkup) {
    MachineFacts facts = MachineWithALog("cmd:<script>alert('1')</script>&amp;\"");
    facts.gpu.adapters->front().name = "<img src=x onerror=alert(1)>\xFF";
    facts.probe.emplace();
    facts.probe->outcome = ProbeFacts::Outcome::kAnswered;
    facts.probe->gpus = {{0, "<b>GeForce</b>", "", {{"<i>", 0}}}};
    facts.platform.file.version = "<u>1</u>";
    facts.library.version = "<s>";
    const std::string html = Html(facts);
    for (const char* markup : {"<script", "<img", "<b>Ge", "<i>", "<u>", "<s>", "\xFF"}) {
        EXPECT_THAT(html, Not(HasSubstr(markup)));
    }
    EXPECT_THAT(html, HasSubstr("cmd:&lt;script&gt;alert(&#39;1&#39;)&lt;/script&gt;&amp;amp;"));
}

TEST(HtmlReportTest, LogHasTheMeaningOfEachLine) {
    const std::string html = Html(MachineWithALog("User is not admin..."));
    EXPECT_THAT(html, HasSubstr("<td><code>User is not admin...</code></td><td>It needs "
                                "administrator rights.<br><code>amd.not_admin</code></td>"));
}

TEST(HtmlReportTest, FilesHaveVersionAndHash) {
    EXPECT_THAT(Html(HealthyMachine()),
                HasSubstr("<td>C:\\Zorvane\\Zorvane.dll</td><td>1.0.0</td><td>1000</td><td><code>"
                          "abc123</code></td>"));
}

TEST(HtmlReportTest, TellsWhatToDoAndWhatCannotBe) {
    MachineFacts facts = HealthyMachine();
    facts.rights.administrator = false;
    facts.gpu.adapters = {{"Intel UHD Graphics 770", false, "igfx", 0}};
    facts.gpu.fixedNvml.exists = facts.gpu.systemNvml.exists = false;
    const std::string html = Html(facts);
    EXPECT_THAT(html, HasSubstr("<b>NVIDIA GPUs</b> cannot be reported on this PC:</p>\n<ul>\n"
                                "<li>Windows lists no NVIDIA card, only: Intel UHD"));
    EXPECT_THAT(html, HasSubstr("</b> could be reported after these steps:</p>\n<ol>\n"
                                "<li>Start zorvanemon as administrator.</li>\n</ol>"));
}

TEST(HtmlReportTest, LeavesEmptyWhatHasNoMeaningAndNamesWhatCannotBeRead) {
    MachineFacts facts = MachineWithALog("a line");
    facts.log.lastRun->lines.front().meaning.reset();
    // Asked for, and nothing came.
    facts.probe.emplace();
    const std::string html = HtmlReport(facts, {}, {}, {{facts.library, ""}}, true);
    EXPECT_THAT(html, HasSubstr("<td><code>a line</code></td><td></td>"));
    EXPECT_THAT(html, HasSubstr("<td><code>cannot be read</code></td>"));
    EXPECT_THAT(html, Not(HasSubstr("NVML's answers")));
}

MachineFacts MachineWithNames() {
    MachineFacts facts = MachineWithALog("cmd:C:\\Users\\Miriam\\z.exe on LAB-7");
    facts.library.path = "C:\\Users\\miriam\\Zorvane.dll";
    facts.probe.emplace();
    facts.probe->outcome = ProbeFacts::Outcome::kAnswered;
    facts.probe->gpus = {{0, "GeForce", "0420217000", {{"nvmlDeviceGetName", 15}}}};
    return facts;
}

TEST(HtmlReportTest, NamesAndSerialNumbersAreMasked) {
    const std::string html = Html(MachineWithNames());
    for (const char* name : {"iriam", "lab-7", "LAB-7", "0420217000"}) {
        EXPECT_THAT(html, Not(HasSubstr(name)));
    }
    EXPECT_THAT(html, HasSubstr("C:\\Users\\[user]\\z.exe on [computer]"));
    EXPECT_THAT(html, HasSubstr("serial number masked"));
    EXPECT_THAT(html, HasSubstr("NVML code 15: a GPU has fallen off the bus"));
}

TEST(HtmlReportTest, NamesAndSerialNumbersStayIfAskedFor) {
    const std::string html = Html(MachineWithNames(), false);
    for (const char* name : {"Miriam", "lab-7", "serial number 0420217000"}) {
        EXPECT_THAT(html, HasSubstr(name));
    }
    EXPECT_THAT(html, Not(HasSubstr("[user]")));
}

TEST(MaskingTest, ReplacesWholeWordsOnly) {
    const CMasking masking("log", "pc");
    EXPECT_EQ(masking.Apply("The log is in C:\\Users\\LOG\\Log on PC, pcie and pc."),
              "The [user] is in C:\\Users\\[user]\\[user] on [computer], pcie and [computer].");
    EXPECT_EQ(CMasking("administrator", "").Apply("Administrator rights"), "Administrator rights");
    EXPECT_EQ(CMasking("", "").Apply("unchanged"), "unchanged");
}

TEST(MaskingTest, NamesMayHaveLettersOfAnyScript) {
    const CMasking masking("J\xC3\xBCrgen", "");
    EXPECT_EQ(masking.Apply("\\J\xC3\xBCrgen\\ J\xC3\xBCrgens"), "\\[user]\\ J\xC3\xBCrgens");
}

TEST(FileSha256Test, IsTheOneThatEverybodyComputes) {
    const CTempFolder folder;
    WriteFileBytes(folder.PathOf(L"abc"), "abc");
    EXPECT_EQ(FileSha256(folder.PathOf(L"abc")),
              "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad");
    EXPECT_EQ(FileSha256(folder.PathOf(L"missing")), std::nullopt);
}

TEST(FileSha256Test, IsNoneOfAFileThatIsNotReadWhole) {
    const CTempFolder folder;
    WriteFileBytes(folder.PathOf(L"abc"), "abc");
    const auto hash = [&] { return FileSha256(folder.PathOf(L"abc")); };
    const auto failing = [](auto...) -> NTSTATUS { return -1; };
    {
        PATCH_IMPORT(read, ReadFile, [](auto...) -> WINBOOL { return FALSE; });
        EXPECT_EQ(hash(), std::nullopt);
    }
    {
        PATCH_IMPORT(open, BCryptOpenAlgorithmProvider, failing);
        EXPECT_EQ(hash(), std::nullopt);
    }
    {
        PATCH_IMPORT(create, BCryptCreateHash, failing);
        EXPECT_EQ(hash(), std::nullopt);
    }
    {
        PATCH_IMPORT(add, BCryptHashData, failing);
        EXPECT_EQ(hash(), std::nullopt);
    }
    {
        PATCH_IMPORT(finish, BCryptFinishHash, failing);
        EXPECT_EQ(hash(), std::nullopt);
    }
    EXPECT_NE(hash(), std::nullopt);
}

TEST(ListFilesTest, ListsThoseThatAreThere) {
    const CTempFolder folder;
    MachineFacts facts;
    facts.library.path = "C:\\no such file.dll";
    facts.library.exists = true;
    facts.host.path = "C:\\not there.exe";
    const std::vector<ListedFile> files = ListFiles(facts);
    ASSERT_THAT(files, testing::SizeIs(1));
    EXPECT_EQ(files.front().sha256, "");
}

}  // namespace
}  // namespace zorvane
