#include "monitor/views/csvview.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/unit/monitor/outputs/keptoutput.h"
#include "tests/unit/monitor/readings.h"

namespace zorvane {
namespace {

class CsvViewTest : public testing::Test {
  protected:
    // The rows of one round in these columns.
    std::string Rows(const std::vector<std::string>& fields, char separator = ',') {
        CKeptOutput output;
        CCsvView view(output, CsvColumns(fields), separator);
        view.OnRound(m_model);
        EXPECT_EQ(output.frame->Head(), CsvHeader(CsvColumns(fields), separator) + "\r\n");
        return output.texts.at(0);
    }

    void Apply(EventBody body) { m_model.Apply(EventAt(0, std::move(body))); }

    CMachineModel m_model;
};

TEST_F(CsvViewTest, HasARowForEachGpuWithTheCpuInEach) {
    StartEvent start;
    start.host = "pc";
    start.entry = "office";
    Apply(start);
    Apply(WorkerStartEvent{312});
    Apply(FullStatic());
    Apply(FullReading());
    Apply(Reading(0, "00000000:0A:00.0"));
    Apply(CpuTemperature{47});
    EXPECT_EQ(CsvHeader(CsvColumns({}), ','),
              "time,host,entry,gpu_index,pci_bus_id,gpu_name,gpu_utilization_percent,"
              "memory_utilization_percent,gpu_temperature_celsius,fan_speed_percent,"
              "graphics_clock_mhz,sm_clock_mhz,memory_clock_mhz,video_clock_mhz,"
              "cpu_temperature_celsius");
    EXPECT_EQ(Rows({}),
              "2024-11-21T04:42:11.123Z,pc,office,1,00000000:01:00.0,NVIDIA GeForce RTX 4090,11,5,"
              "58,130,1800,1801,10501,1500,47\r\n"
              "2024-11-21T04:42:11.123Z,pc,office,0,00000000:0A:00.0,,10,0,,,,,,,47\r\n");
    EXPECT_EQ(Rows({"worker_pid", "serial", "vbios_version", "driver_version", "pci_device_id",
                    "memory_total_kib", "max_graphics_clock_mhz", "max_sm_clock_mhz",
                    "max_memory_clock_mhz", "max_video_clock_mhz"}),
              "312,1320,95.02,551.86,0x268410DE,25153536,3105,3105,10501,\r\n"
              "312,,,,,,,,,\r\n");
}

TEST_F(CsvViewTest, HasOneRowWhereThereIsNoGpu) {
    Apply(CpuTemperature{47});
    EXPECT_EQ(Rows({"gpu_index", "pci_bus_id", "cpu_temperature_celsius"}), ",,47\r\n");
}

TEST_F(CsvViewTest, LeavesEveryFieldEmptyThatNobodyHasTold) {
    Apply(CpuTemperature{47});
    EXPECT_EQ(Rows(CsvFieldNames()), "2024-11-21T04:42:11.123Z,,,0,,,,,,,,,,,,47,,,,,,,,,\r\n");
    Apply(GpuStatic());
    EXPECT_EQ(Rows({"gpu_index", "gpu_name", "pci_device_id", "serial", "memory_total_kib",
                    "max_video_clock_mhz", "host", "entry"}),
              "0,,,,,,,\r\n");
}

TEST_F(CsvViewTest, LeavesTheFieldsOfASilentGpuEmpty) {
    Apply(FullStatic());
    Apply(FullReading());
    Apply(CpuTemperature{47});
    m_model.KeepOnly({kCpuSource});
    EXPECT_EQ(Rows({"gpu_name", "gpu_utilization_percent", "cpu_temperature_celsius"}),
              "NVIDIA GeForce RTX 4090,,47\r\n");
}

TEST_F(CsvViewTest, QuotesWhatWouldNotBeOneField) {
    GpuReading reading = Reading(0, "00000000:01:00.0");
    reading.name = L"a \"b\", c; \x00C4";
    Apply(reading);
    EXPECT_EQ(Rows({"gpu_name", "gpu_index"}), "\"a \"\"b\"\", c; \xC3\x84\",0\r\n");
    reading.name = L"a;b";
    Apply(reading);
    EXPECT_EQ(Rows({"gpu_name", "gpu_index"}), "a;b,0\r\n");
    EXPECT_EQ(Rows({"gpu_name", "gpu_index"}, ';'), "\"a;b\";0\r\n");
    EXPECT_EQ(Rows({"gpu_name", "gpu_index"}, '\t'), "a;b\t0\r\n");
}

TEST_F(CsvViewTest, LetsNoNameBeginALineOrSteerATerminal) {
    GpuReading reading = Reading(0, "00000000:01:00.0");
    reading.name = L"a\r\nb\x1b[2J\x7F";
    Apply(reading);
    EXPECT_EQ(Rows({"gpu_name"}), "a??b?[2J?\r\n");
}

TEST_F(CsvViewTest, MakesNoEmptyLine) { EXPECT_EQ(Rows({"gpu_name"}), "\"\"\r\n"); }

TEST_F(CsvViewTest, TakesTheColumnsInTheOrderOfTheirNames) {
    EXPECT_EQ(CsvHeader(CsvColumns({"gpu_name", "time", "time"}), ';'), "gpu_name;time;time");
}

}  // namespace
}  // namespace zorvane
