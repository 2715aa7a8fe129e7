/** What is measured; each function is run in a process of its own. */
#pragma once

#include "bench/row.h"

/** A cycle of the shipped library with so many GPUs. */
Row CycleRow(unsigned gpus);

/** CMsgLoopProcess::SendData. */
Row RecordRow();

/** A log site's line, beside spdlog that takes a named mutex and flushes for each line. */
Row LineRow();

/** A log site while the log is off. */
Row SilentLineRow();

/** From starting a worker's process to its hello, and to its first record. */
std::vector<Row> StartRows();

/** Decoding a dynamic record and handing it to a listener. */
Row DecodeRow();

/** A round of 64 GPUs in each form of output. */
std::vector<Row> FormRows();
