//! A stub in Rust: prints ten readings and ends the worker. No crates.
//!
//!     rustc --target x86_64-pc-windows-gnu -L lib examples/kit_stub.rs
//!     kit_stub [PATH-OF-zorvanehost.exe [WORDS, one a line]]
//!
//! zorvaneclient.dll has to lie beside the program. include/zorvane/client.h says what everything
//! means; the names here are the same. Without a path the DLL takes the host beside itself.
#![allow(non_snake_case, dead_code)]
use std::ffi::CStr;
use std::os::raw::{c_char, c_void};
use std::{env, mem, process, ptr};

const WANTED: i32 = 10;
const NO_LIMIT: u32 = 0xFFFF_FFFF;
const EVENT_GPU: u32 = 4;
const EVENT_CPU: u32 = 5;
const EVENT_END: u32 = 18;

#[repr(C)]
struct ZorvaneNumber { valid: u32, reserved: u32, value: i64 }

#[repr(C)]
struct ZorvaneText { valid: u32, length: u32, text: [u8; 120] }

#[repr(C)]
struct ZorvaneMessage { length: u32, text: [u8; 1020] }

#[repr(C)]
struct ZorvaneError {
    size: u32, result: u32, code: u32, reserved: u32, call: ZorvaneText, text: ZorvaneMessage,
}

#[repr(C)]
struct ZorvaneOptions {
    size: u32, flags: u32, host: *const c_char, library: *const c_char, entry: *const c_char,
    words: *const c_char, variables: *const c_char, callback: *const c_void,
    context: *const c_void, hostLength: u32, libraryLength: u32, entryLength: u32,
    wordsLength: u32, variablesLength: u32, queueLength: u32, staleAfterMs: u32,
    restartAfterMs: u32, afterAskingMs: u32, afterWindowMs: u32, maxAgeSeconds: u32,
    reserved: u32,
}

#[repr(C)]
struct ZorvaneExit {
    processId: u32, code: u32, kind: u32, greeted: u32, asked: u32, forced: u32, livedMs: i64,
    restartInMs: ZorvaneNumber,
}

#[repr(C)]
struct ZorvaneGpu {
    index: u32, count: u32, busId: ZorvaneText, name: ZorvaneText, pciDomain: ZorvaneNumber,
    pciBus: ZorvaneNumber, pciDevice: ZorvaneNumber, pciDeviceId: ZorvaneNumber,
    gpuUtilizationPercent: ZorvaneNumber, memoryUtilizationPercent: ZorvaneNumber,
    temperatureCelsius: ZorvaneNumber, fanSpeedPercent: ZorvaneNumber,
    clocksMHz: [ZorvaneNumber; 4], serial: ZorvaneText, vbiosVersion: ZorvaneText,
    driverVersion: ZorvaneText, totalMemoryKiB: ZorvaneNumber, maxClocksMHz: [ZorvaneNumber; 4],
}

#[repr(C)]
struct ZorvaneEvent {
    size: u32, r#type: u32, timeMs: i64, dropped: u64, workerId: u32, fault: u32, leftOut: u32,
    stopStep: u32, endReason: u32, code: u32, sinceMs: i64, cpuTemperatureCelsius: ZorvaneNumber,
    exit: ZorvaneExit, entry: ZorvaneText, call: ZorvaneText, what: ZorvaneText, id: ZorvaneText,
    brief: ZorvaneText, text: ZorvaneMessage, remedy: ZorvaneMessage, gpu: ZorvaneGpu,
}

#[link(name = "zorvaneclient.dll")]
extern "C" {
    fn zorvane_open(options: *const ZorvaneOptions, session: *mut u64,
                    error: *mut ZorvaneError) -> u32;
    fn zorvane_start(session: u64) -> u32;
    fn zorvane_stop(session: u64) -> u32;
    fn zorvane_close(session: u64) -> u32;
    fn zorvane_next_event(session: u64, event: *mut ZorvaneEvent, timeout: u32) -> u32;
    fn zorvane_event_name(event: u32) -> *const c_char;
}

fn text(bytes: &[u8], length: u32) -> &str {
    std::str::from_utf8(&bytes[..length as usize]).unwrap_or("?")
}

// A value that could not be read is not valid; it is never shown as 0.
fn shown(name: &str, number: &ZorvaneNumber, unit: &str) -> String {
    if number.valid == 0 { String::new() } else { format!("  {name}{} {unit}", number.value) }
}

fn print_gpu(gpu: &ZorvaneGpu) {
    println!("{}  {}{}{}{}", text(&gpu.busId.text, gpu.busId.length),
             text(&gpu.name.text, gpu.name.length),
             shown("GPU ", &gpu.gpuUtilizationPercent, "%"),
             shown("", &gpu.temperatureCelsius, "C"), shown("fan ", &gpu.fanSpeedPercent, "%"));
}

/// Runs one worker to its end; the number of readings.
unsafe fn run(session: u64) -> i32 {
    let mut event: Box<ZorvaneEvent> = Box::new(mem::zeroed());
    event.size = mem::size_of::<ZorvaneEvent>() as u32;
    let mut readings = 0;
    zorvane_start(session);
    while zorvane_next_event(session, &mut *event, NO_LIMIT) == 0 && event.r#type != EVENT_END {
        let is_reading = event.r#type == EVENT_GPU || event.r#type == EVENT_CPU;
        if is_reading && readings == WANTED {
            continue; // it came before the worker was stopped
        }
        match event.r#type {
            EVENT_GPU => print_gpu(&event.gpu),
            EVENT_CPU => println!("CPU  {} C", event.cpuTemperatureCelsius.value),
            other => {
                eprintln!("{}  {}  {}", CStr::from_ptr(zorvane_event_name(other)).to_string_lossy(),
                          text(&event.text.text, event.text.length),
                          text(&event.remedy.text, event.remedy.length));
            }
        }
        if is_reading {
            readings += 1;
            if readings == WANTED {
                zorvane_stop(session);
            }
        }
    }
    readings
}

fn main() {
    // Texts with their lengths need no NUL.
    let words: Vec<String> = env::args().skip(1).collect();
    let word = |i: usize| words.get(i).map_or("", |text| text.as_str());
    let entry = "kit_stub in Rust";
    unsafe {
        let mut options: ZorvaneOptions = mem::zeroed();
        options.size = mem::size_of::<ZorvaneOptions>() as u32;
        let or_null = |text: &str| if text.is_empty() { ptr::null() } else { text.as_ptr().cast() };
        options.host = or_null(word(0));
        options.hostLength = word(0).len() as u32;
        options.words = or_null(word(1));
        options.wordsLength = word(1).len() as u32;
        options.entry = entry.as_ptr().cast();
        options.entryLength = entry.len() as u32;
        let mut error: Box<ZorvaneError> = Box::new(mem::zeroed());
        error.size = mem::size_of::<ZorvaneError>() as u32;
        let mut session = 0;
        if zorvane_open(&options, &mut session, &mut *error) != 0 {
            eprintln!("{}: {}", text(&error.call.text, error.call.length),
                      text(&error.text.text, error.text.length));
            process::exit(1);
        }
        let readings = run(session);
        zorvane_close(session);
        process::exit(if readings > 0 { 0 } else { 1 });
    }
}
