/**
 * zorvaneclient.dll for JavaScript: Node for Windows, 64 bits, with koffi (npm install koffi).
 * include/zorvane/client.h says what everything means; the names here are the same.
 */
"use strict";
const koffi = require("koffi");
const path = require("path");

// In the package this file lies one folder below the DLL.
const file = process.env.ZORVANE_CLIENT || path.join(__dirname, "..", "zorvaneclient.dll");
const library = koffi.load(file);

const text = (size) => koffi.array("char", size, "String");
const ZorvaneNumber = koffi.struct("ZorvaneNumber",
    { valid: "uint32_t", reserved: "uint32_t", value: "int64_t" });
const ZorvaneText = koffi.struct("ZorvaneText",
    { valid: "uint32_t", length: "uint32_t", text: text(120) });
const ZorvaneMessage = koffi.struct("ZorvaneMessage", { length: "uint32_t", text: text(1020) });
const ZorvaneError = koffi.struct("ZorvaneError", {
    size: "uint32_t", result: "uint32_t", code: "uint32_t", reserved: "uint32_t",
    call: ZorvaneText, text: ZorvaneMessage });
const ZorvaneOptions = koffi.struct("ZorvaneOptions", {
    size: "uint32_t", flags: "uint32_t",
    host: "const char*", library: "const char*", entry: "const char*", words: "const char*",
    variables: "const char*", callback: "void*", context: "void*",
    hostLength: "uint32_t", libraryLength: "uint32_t", entryLength: "uint32_t",
    wordsLength: "uint32_t", variablesLength: "uint32_t", queueLength: "uint32_t",
    staleAfterMs: "uint32_t", restartAfterMs: "uint32_t", afterAskingMs: "uint32_t",
    afterWindowMs: "uint32_t", maxAgeSeconds: "uint32_t", reserved: "uint32_t" });
const ZorvaneExit = koffi.struct("ZorvaneExit", {
    processId: "uint32_t", code: "uint32_t", kind: "uint32_t", greeted: "uint32_t",
    asked: "uint32_t", forced: "uint32_t", livedMs: "int64_t", restartInMs: ZorvaneNumber });
const ZorvaneGpu = koffi.struct("ZorvaneGpu", {
    index: "uint32_t", count: "uint32_t", busId: ZorvaneText, name: ZorvaneText,
    pciDomain: ZorvaneNumber, pciBus: ZorvaneNumber, pciDevice: ZorvaneNumber,
    pciDeviceId: ZorvaneNumber, gpuUtilizationPercent: ZorvaneNumber,
    memoryUtilizationPercent: ZorvaneNumber, temperatureCelsius: ZorvaneNumber,
    fanSpeedPercent: ZorvaneNumber, clocksMHz: koffi.array(ZorvaneNumber, 4),
    serial: ZorvaneText, vbiosVersion: ZorvaneText, driverVersion: ZorvaneText,
    totalMemoryKiB: ZorvaneNumber, maxClocksMHz: koffi.array(ZorvaneNumber, 4) });
const ZorvaneEvent = koffi.struct("ZorvaneEvent", {
    size: "uint32_t", type: "uint32_t", timeMs: "int64_t", dropped: "uint64_t",
    workerId: "uint32_t", fault: "uint32_t", leftOut: "uint32_t", stopStep: "uint32_t",
    endReason: "uint32_t", code: "uint32_t", sinceMs: "int64_t",
    cpuTemperatureCelsius: ZorvaneNumber, exit: ZorvaneExit, entry: ZorvaneText,
    call: ZorvaneText, what: ZorvaneText, id: ZorvaneText, brief: ZorvaneText,
    text: ZorvaneMessage, remedy: ZorvaneMessage, gpu: ZorvaneGpu });

const open = library.func("uint32_t zorvane_open(ZorvaneOptions* options, " +
    "_Out_ uint64_t* session, _Inout_ ZorvaneError* error)");
const start = library.func("uint32_t zorvane_start(uint64_t session)");
const stop = library.func("uint32_t zorvane_stop(uint64_t session)");
const pause = library.func("uint32_t zorvane_pause(uint64_t session)");
const resume = library.func("uint32_t zorvane_resume(uint64_t session)");
const close = library.func("uint32_t zorvane_close(uint64_t session)");
const nextEvent = library.func(
    "uint32_t zorvane_next_event(uint64_t session, _Inout_ ZorvaneEvent* event, uint32_t timeout)");
const eventName = library.func("const char* zorvane_event_name(uint32_t type)");
const resultText = library.func("const char* zorvane_result_text(uint32_t result)");

class Session {
    /** options: members of ZorvaneOptions. Throws an Error that says what is wrong. */
    constructor(options) {
        const number = [0];
        const error = { size: koffi.sizeof(ZorvaneError) };
        const result = open({ size: koffi.sizeof(ZorvaneOptions), ...options }, number, error);
        if (result !== 0) {
            throw new Error(`${error.call?.text}: ${error.text?.text || resultText(result)}`);
        }
        this.number = number[0];
    }

    start() { return start(this.number); }
    stop() { return stop(this.number); }
    pause() { return pause(this.number); }
    resume() { return resume(this.number); }
    close() { return close(this.number); }

    /** The next event, with its name as `name`; null when none comes in time. Blocks no other code. */
    nextEvent(timeoutMs = 0xFFFFFFFF) {
        return new Promise((resolve, reject) => {
            const event = { size: koffi.sizeof(ZorvaneEvent) };
            nextEvent.async(this.number, event, timeoutMs, (error, result) => {
                if (error || result > 1) {
                    reject(error || new Error(resultText(result)));
                } else {
                    resolve(result === 0 ? { ...event, name: eventName(event.type) } : null);
                }
            });
        });
    }
}

module.exports = { Session, koffi, library, types: {
    ZorvaneNumber, ZorvaneText, ZorvaneMessage, ZorvaneError, ZorvaneOptions, ZorvaneExit,
    ZorvaneGpu, ZorvaneEvent } };
