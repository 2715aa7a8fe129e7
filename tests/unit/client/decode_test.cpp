#include "client/decode.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <cstring>
#include <string_view>

#include "tests/support/callcounts.h"

namespace zorvane {
namespace {

template <typename T>
Payload PayloadOf(uint64_t code, const T& value) {
    Payload payload{code, sizeof(T), std::vector<std::byte>(sizeof(T))};
    std::memcpy(payload.bytes.data(), &value, sizeof(T));
    return payload;
}

Payload TextPayload(std::string_view text) {
    Payload payload{kCopyDataStop, static_cast<uint32_t>(text.size()), {}};
    for (const char c : text) {
        payload.bytes.push_back(static_cast<std::byte>(c));
    }
    return payload;
}

// {"CpuTemp":...} with its NUL.
Payload CpuPayload(const std::string& value) {
    return TextPayload(std::string(R"({"CpuTemp":)") + value + "}" + '\0');
}

// The error that a payload decodes to; a test failure when it is none.
PayloadError ErrorOf(const Payload& payload) {
    const Decoded decoded = Decode(payload);
    const auto* error = std::get_if<PayloadError>(&decoded);
    if (!error) {
        ADD_FAILURE() << "decoded to alternative " << decoded.index();
    }
    return error ? *error : PayloadError{PayloadFault::kUnknownCode, "none"};
}

template <typename Wide>
void Put(Wide (&field)[kWireTextLength], std::basic_string_view<Wide> text) {
    text.copy(field, kWireTextLength - 1);
}

// A record in which everything was read.
NvmlGpuRecord FullRecord(uint32_t kind) {
    NvmlGpuRecord record{};
    Put<wchar_t>(record.entry, L"Temp");
    record.kind = kind;
    record.gpuIndex = 1;
    record.gpuCount = 3;
    record.memoryUtilizationPercent = 11;
    record.gpuUtilizationPercent = 22;
    record.totalMemoryKiB = 0x100000001;
    record.temperatureCelsius = 55;
    record.fanSpeedPercent = 101;
    Put<wchar_t>(record.name, L"GPU");
    Put<wchar_t>(record.serial, L"serial");
    Put<wchar_t>(record.vbiosVersion, L"vbios");
    Put<wchar_t>(record.driverVersion, L"driver");
    for (uint32_t i = 0; i < kClockTypeCount; ++i) {
        record.maxClockMHz[i] = 2000 + i;
        record.clockMHz[i] = 1000 + i;
    }
    record.pciDomain = 1;
    record.pciBus = 2;
    record.pciDevice = 3;
    record.pciDeviceId = 0x268410DE;
    Put<char>(record.pciBusId, "00000001:02:03.0");
    return record;
}

NvmlGpuRecord UnreadRecord(uint32_t kind) {
    NvmlGpuRecord record{};
    record.kind = kind;
    record.gpuCount = 1;
    record.fanSpeedPercent = ZORVANE_FAN_SPEED_UNKNOWN;
    return record;
}

TEST(DecodeTest, ReadsAHello) {
    HelloPayload hello{};
    Put<wchar_t>(hello.entry, L"Temp");
    hello.hostWnd = 0xFFFFFFFF80000001;
    const auto decoded = std::get<Hello>(Decode(PayloadOf(kCopyDataHello, hello)));
    EXPECT_EQ(decoded.entry, L"Temp");
    EXPECT_EQ(decoded.workerWindow, 0xFFFFFFFF80000001);
}

TEST(DecodeTest, ReadsEveryFieldOfADynamicRecord) {
    const auto reading =
        std::get<GpuReading>(Decode(PayloadOf(kCopyDataTaskData, FullRecord(kGpuRecordDynamic))));
    EXPECT_EQ(reading.entry, L"Temp");
    EXPECT_EQ(reading.index, 1u);
    EXPECT_EQ(reading.count, 3u);
    EXPECT_EQ(reading.name, L"GPU");
    EXPECT_EQ(reading.gpuUtilizationPercent, 22u);
    EXPECT_EQ(reading.memoryUtilizationPercent, 11u);
    EXPECT_EQ(reading.temperatureCelsius, 55u);
    EXPECT_EQ(reading.fanSpeedPercent, 101u);
    EXPECT_EQ(reading.clocksMHz, (Clocks{1000u, 1001u, 1002u, 1003u}));
    ASSERT_TRUE(reading.pci);
    EXPECT_EQ(reading.pci->domain, 1u);
    EXPECT_EQ(reading.pci->bus, 2u);
    EXPECT_EQ(reading.pci->device, 3u);
    EXPECT_EQ(reading.pci->deviceId, 0x268410DEu);
    EXPECT_EQ(reading.pci->busId, "00000001:02:03.0");
}

TEST(DecodeTest, ReadsWhatAStaticRecordHasBesides) {
    const auto fixed =
        std::get<GpuStatic>(Decode(PayloadOf(kCopyDataTaskData, FullRecord(kGpuRecordStatic))));
    EXPECT_EQ(fixed.first.temperatureCelsius, 55u);
    EXPECT_EQ(fixed.totalMemoryKiB, 0x100000001u);
    EXPECT_EQ(fixed.serial, L"serial");
    EXPECT_EQ(fixed.vbiosVersion, L"vbios");
    EXPECT_EQ(fixed.driverVersion, L"driver");
    EXPECT_EQ(fixed.maxClocksMHz, (Clocks{2000u, 2001u, 2002u, 2003u}));
}

TEST(DecodeTest, GivesNothingForWhatCouldNotBeRead) {
    const auto fixed =
        std::get<GpuStatic>(Decode(PayloadOf(kCopyDataTaskData, UnreadRecord(kGpuRecordStatic))));
    EXPECT_FALSE(fixed.first.name);
    EXPECT_FALSE(fixed.first.temperatureCelsius);
    EXPECT_FALSE(fixed.first.fanSpeedPercent);
    EXPECT_EQ(fixed.first.clocksMHz, Clocks{});
    EXPECT_FALSE(fixed.first.pci);
    EXPECT_FALSE(fixed.totalMemoryKiB);
    EXPECT_FALSE(fixed.serial);
    EXPECT_FALSE(fixed.vbiosVersion);
    EXPECT_FALSE(fixed.driverVersion);
    EXPECT_EQ(fixed.maxClocksMHz, Clocks{});
}

TEST(DecodeTest, KeepsAnIdleGpusUtilisationOfZero) {
    NvmlGpuRecord record = UnreadRecord(kGpuRecordDynamic);
    record.temperatureCelsius = 30;
    const auto reading = std::get<GpuReading>(Decode(PayloadOf(kCopyDataTaskData, record)));
    EXPECT_EQ(reading.gpuUtilizationPercent, 0u);
    EXPECT_EQ(reading.memoryUtilizationPercent, 0u);
}

TEST(DecodeTest, GivesNoUtilisationOfAGpuOfWhichNothingCouldBeRead) {
    const auto reading =
        std::get<GpuReading>(Decode(PayloadOf(kCopyDataTaskData, UnreadRecord(kGpuRecordDynamic))));
    EXPECT_FALSE(reading.gpuUtilizationPercent);
    EXPECT_FALSE(reading.memoryUtilizationPercent);
}

TEST(DecodeTest, MakesABusIdOfTheNumbersThatAnOldDriverGives) {
    NvmlGpuRecord record = UnreadRecord(kGpuRecordDynamic);
    record.pciDomain = 1;
    record.pciBus = 10;
    record.pciDevice = 2;
    const auto reading = std::get<GpuReading>(Decode(PayloadOf(kCopyDataTaskData, record)));
    ASSERT_TRUE(reading.pci);
    EXPECT_EQ(reading.pci->busId, "00000001:0A:02.0");
}

TEST(DecodeTest, RefusesARecordOfMoreGpusThanAnyMachineHas) {
    NvmlGpuRecord record = FullRecord(kGpuRecordDynamic);
    record.gpuCount = kMostGpus;
    EXPECT_TRUE(std::holds_alternative<GpuReading>(Decode(PayloadOf(kCopyDataTaskData, record))));
    record.gpuCount = kMostGpus + 1;
    EXPECT_EQ(std::get<PayloadError>(Decode(PayloadOf(kCopyDataTaskData, record))).fault,
              PayloadFault::kBadRecord);
}

TEST(DecodeTest, TakesAStandingFanForAReading) {
    NvmlGpuRecord record = UnreadRecord(kGpuRecordDynamic);
    record.fanSpeedPercent = 0;
    EXPECT_EQ(std::get<GpuReading>(Decode(PayloadOf(kCopyDataTaskData, record))).fanSpeedPercent,
              0u);
}

TEST(DecodeTest, KeepsTheClocksBeforeTheFirstFailure) {
    NvmlGpuRecord record = UnreadRecord(kGpuRecordDynamic);
    record.clockMHz[kClockGraphics] = 300;
    record.clockMHz[kClockSm] = 301;
    const auto reading = std::get<GpuReading>(Decode(PayloadOf(kCopyDataTaskData, record)));
    EXPECT_EQ(reading.clocksMHz, (Clocks{300u, 301u, std::nullopt, std::nullopt}));
}

TEST(DecodeTest, MakesABusIdOfTheNumbersWhereTheTextIsNone) {
    for (const char* text :
         {"\xDE\xAD\x01", "00000001:02:03", "0001:02:03.00", "1:02:03.0", "00000001:02:03:0",
          "0000000g:02:03.0", " 0000001:02:03.0", "00000001-02:03.0", "00000001:0x:03.0",
          "00000001:02-03.0", "00000001:02:0x.0", "00000001:02:03.x", "0000000/:02:03.0",
          "0000000::02:03.0", "0000000@:02:03.0", "0000000`:02:03.0"}) {
        NvmlGpuRecord record = FullRecord(kGpuRecordDynamic);
        std::fill(std::begin(record.pciBusId), std::end(record.pciBusId), '\0');
        Put<char>(record.pciBusId, text);
        const auto reading = std::get<GpuReading>(Decode(PayloadOf(kCopyDataTaskData, record)));
        EXPECT_EQ(reading.pci->busId, "00000001:02:03.0") << text;
    }
}

TEST(DecodeTest, TakesABusIdOfEitherLengthInEitherLetterCase) {
    for (const char* text : {"0001:aB:03.0", "0000000F:0C:1f.7"}) {
        NvmlGpuRecord record = FullRecord(kGpuRecordDynamic);
        std::fill(std::begin(record.pciBusId), std::end(record.pciBusId), '\0');
        Put<char>(record.pciBusId, text);
        const auto reading = std::get<GpuReading>(Decode(PayloadOf(kCopyDataTaskData, record)));
        EXPECT_EQ(reading.pci->busId, text);
    }
}

TEST(DecodeTest, KeepsAUtilizationThatIsAllThatWasRead) {
    for (const auto field :
         {&NvmlGpuRecord::gpuUtilizationPercent, &NvmlGpuRecord::memoryUtilizationPercent}) {
        NvmlGpuRecord record = UnreadRecord(kGpuRecordDynamic);
        record.*field = 7;
        const auto reading = std::get<GpuReading>(Decode(PayloadOf(kCopyDataTaskData, record)));
        EXPECT_EQ(reading.gpuUtilizationPercent, record.gpuUtilizationPercent);
        EXPECT_EQ(reading.memoryUtilizationPercent, record.memoryUtilizationPercent);
    }
}

TEST(DecodeTest, TakesRubbishWithoutNumbersForNoLocation) {
    NvmlGpuRecord record = UnreadRecord(kGpuRecordDynamic);
    Put<char>(record.pciBusId, "\x01\x02");
    EXPECT_FALSE(std::get<GpuReading>(Decode(PayloadOf(kCopyDataTaskData, record))).pci);
}

TEST(DecodeTest, TakesABusIdAloneForALocation) {
    NvmlGpuRecord record = UnreadRecord(kGpuRecordDynamic);
    Put<char>(record.pciBusId, "00000000:00:00.0");
    const auto reading = std::get<GpuReading>(Decode(PayloadOf(kCopyDataTaskData, record)));
    ASSERT_TRUE(reading.pci);
    EXPECT_EQ(reading.pci->busId, "00000000:00:00.0");
}

TEST(DecodeTest, KeepsATextOf31Characters) {
    NvmlGpuRecord record = FullRecord(kGpuRecordDynamic);
    Put<wchar_t>(record.name, L"1234567890123456789012345678901");
    const auto reading = std::get<GpuReading>(Decode(PayloadOf(kCopyDataTaskData, record)));
    EXPECT_EQ(reading.name, L"1234567890123456789012345678901");
}

TEST(DecodeTest, TakesATextWithRubbishBehindItsTerminator) {
    NvmlGpuRecord record = FullRecord(kGpuRecordDynamic);
    std::fill(std::begin(record.name), std::end(record.name), L'x');
    record.name[2] = L'\0';
    const auto reading = std::get<GpuReading>(Decode(PayloadOf(kCopyDataTaskData, record)));
    EXPECT_EQ(reading.name, L"xx");
}

TEST(DecodeTest, TakesNoMemoryForARecord) {
    NvmlGpuRecord record = FullRecord(kGpuRecordDynamic);
    Put<wchar_t>(record.name, L"1234567890123456789012345678901");
    const Payload payload = PayloadOf(kCopyDataTaskData, record);
    CCallCounts counts(nullptr);
    counts.Begin();
    const Decoded decoded = Decode(payload);
    const CallsByName calls = counts.End();
    EXPECT_TRUE(std::holds_alternative<GpuReading>(decoded));
    EXPECT_FALSE(calls.contains("malloc")) << calls.at("malloc");
}

TEST(DecodeTest, NamesTheTextFieldThatHasNoTerminator) {
    const auto errorWithout = [](auto field) {
        NvmlGpuRecord record = FullRecord(kGpuRecordStatic);
        for (auto& c : record.*field) {
            c = 'x';
        }
        return ErrorOf(PayloadOf(kCopyDataTaskData, record));
    };
    const PayloadError errors[] = {
        errorWithout(&NvmlGpuRecord::entry),         errorWithout(&NvmlGpuRecord::name),
        errorWithout(&NvmlGpuRecord::serial),        errorWithout(&NvmlGpuRecord::vbiosVersion),
        errorWithout(&NvmlGpuRecord::driverVersion), errorWithout(&NvmlGpuRecord::pciBusId)};
    const char* names[] = {"entry", "name", "serial", "vbiosVersion", "driverVersion", "pciBusId"};
    for (size_t i = 0; i < std::size(errors); ++i) {
        SCOPED_TRACE(names[i]);
        EXPECT_EQ(errors[i].fault, PayloadFault::kNotTerminated);
        EXPECT_EQ(errors[i].text,
                  std::string("GPU record: ") + names[i] + " has no terminating NUL");
    }
}

TEST(DecodeTest, RefusesAHelloWithoutTerminator) {
    HelloPayload hello{};
    for (wchar_t& c : hello.entry) {
        c = L'x';
    }
    EXPECT_EQ(ErrorOf(PayloadOf(kCopyDataHello, hello)).fault, PayloadFault::kNotTerminated);
}

TEST(DecodeTest, RefusesAnUnknownKind) {
    for (const uint32_t kind : {0u, 3u, 0xFFFFFFFFu}) {
        SCOPED_TRACE(kind);
        const PayloadError error = ErrorOf(PayloadOf(kCopyDataTaskData, FullRecord(kind)));
        EXPECT_EQ(error.fault, PayloadFault::kBadRecord);
        EXPECT_EQ(error.text, "GPU record: unknown kind " + std::to_string(kind));
    }
}

TEST(DecodeTest, RefusesAnIndexBeyondTheCount) {
    NvmlGpuRecord record = FullRecord(kGpuRecordDynamic);
    record.gpuIndex = record.gpuCount;
    EXPECT_EQ(ErrorOf(PayloadOf(kCopyDataTaskData, record)).text, "GPU record: index 3 of 3 GPUs");
}

TEST(DecodeTest, ComparesTheCodeWhole) {
    Payload payload = PayloadOf(0x100000D10, FullRecord(kGpuRecordDynamic));
    const PayloadError error = ErrorOf(payload);
    EXPECT_EQ(error.fault, PayloadFault::kUnknownCode);
    EXPECT_EQ(error.text, "unknown code 4294970640 with 448 bytes");
}

TEST(DecodeTest, SaysWhichSizeItExpected) {
    EXPECT_EQ(ErrorOf({kCopyDataHello, 71, std::vector<std::byte>(71)}).text,
              "hello of 71 bytes, expected 72");
    EXPECT_EQ(ErrorOf({kCopyDataTaskData, 449, std::vector<std::byte>(449)}).text,
              "GPU record of 449 bytes, expected 448");
    EXPECT_EQ(ErrorOf({kCopyDataTaskData, 0, {}}).fault, PayloadFault::kWrongSize);
}

TEST(DecodeTest, BelievesTheBytesNotTheSize) {
    for (const uint64_t code : {kCopyDataHello, kCopyDataTaskData, kCopyDataStop}) {
        for (const uint32_t size : {20u, 72u, 448u}) {
            SCOPED_TRACE(std::to_string(code) + ", " + std::to_string(size));
            EXPECT_EQ(ErrorOf({code, size, std::vector<std::byte>(10)}).fault,
                      PayloadFault::kWrongSize);
        }
    }
}

TEST(DecodeTest, RefusesEveryOtherLengthWhateverTheBytes) {
    for (uint32_t size = 0; size < 600; ++size) {
        SCOPED_TRACE(size);
        for (const auto fill : {std::byte{0}, std::byte{1}, std::byte{'x'}, std::byte{0xFF}}) {
            const std::vector<std::byte> bytes(size, fill);
            if (size != sizeof(HelloPayload)) {
                ASSERT_EQ(ErrorOf({kCopyDataHello, size, bytes}).fault, PayloadFault::kWrongSize);
            }
            if (size != sizeof(NvmlGpuRecord)) {
                ASSERT_EQ(ErrorOf({kCopyDataTaskData, size, bytes}).fault,
                          PayloadFault::kWrongSize);
            }
            ErrorOf({kCopyDataStop, size, bytes});
        }
    }
}

TEST(DecodeTest, ReadsACpuTemperature) {
    const auto celsius = [](const char* text) {
        return std::get<CpuTemperature>(Decode(CpuPayload(text))).celsius;
    };
    EXPECT_EQ(celsius("47"), 47);
    EXPECT_EQ(celsius("4"), 4);
    EXPECT_EQ(celsius("121"), 121);
    EXPECT_EQ(celsius("-5"), -5);
    EXPECT_EQ(celsius("2147483647"), 2147483647);
    EXPECT_EQ(celsius("-2147483648"), -2147483647 - 1);
}

TEST(DecodeTest, RefusesEveryOtherCpuText) {
    for (const char* value :
         {"", "-", "+4", " 4", "4 ", "4.5", "04", "-04", "4e1", "x", "2147483648", "4}"}) {
        SCOPED_TRACE(value);
        const PayloadError error = ErrorOf(CpuPayload(value));
        EXPECT_EQ(error.fault, PayloadFault::kBadText) << value;
        EXPECT_EQ(error.text, std::string("CPU temperature text is not {\"CpuTemp\":n}: ") +
                                  "{\"CpuTemp\":" + value + "}");
    }
    EXPECT_EQ(ErrorOf(TextPayload({"\0", 1})).fault, PayloadFault::kBadText);
    EXPECT_EQ(ErrorOf(TextPayload({"{\"cpuTemp\":4}\0", 14})).fault, PayloadFault::kBadText);
}

TEST(DecodeTest, RefusesACpuTextWithoutTerminatorOrWithMoreBehindIt) {
    EXPECT_EQ(ErrorOf(TextPayload(R"({"CpuTemp":4})")).fault, PayloadFault::kNotTerminated);
    EXPECT_EQ(ErrorOf(TextPayload("")).fault, PayloadFault::kNotTerminated);
    EXPECT_EQ(ErrorOf(TextPayload({"{\"CpuTemp\":4}\0\0", 15})).fault, PayloadFault::kBadText);
}

TEST(DecodeTest, ShowsOnlyPrintableCharactersOfABadText) {
    EXPECT_EQ(ErrorOf(TextPayload({"\x1b[2J\xFF ~\x1f\x7f\0", 10})).text,
              "CPU temperature text is not {\"CpuTemp\":n}: ?[2J? ~??");
}

TEST(DecodeTest, HasANameForEveryFault) {
    EXPECT_STREQ(FaultName(PayloadFault::kUnknownCode), "unknown_code");
    EXPECT_STREQ(FaultName(PayloadFault::kWrongSize), "wrong_size");
    EXPECT_STREQ(FaultName(PayloadFault::kNotTerminated), "not_terminated");
    EXPECT_STREQ(FaultName(PayloadFault::kBadRecord), "bad_record");
    EXPECT_STREQ(FaultName(PayloadFault::kBadText), "bad_text");
    EXPECT_STREQ(FaultName(PayloadFault::kForeignSender), "foreign_sender");
    EXPECT_STREQ(FaultName(PayloadFault::kForeignWindow), "foreign_window");
}

}  // namespace
}  // namespace zorvane
