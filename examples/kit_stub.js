/**
 * A stub in JavaScript: prints ten readings and ends the worker.
 *
 *   npm install koffi
 *   node kit_stub.js [PATH-OF-zorvanehost.exe [WORDS, one a line]]
 *
 * Without a path the DLL takes the host beside itself.
 */
"use strict";
const { Session } = require("./zorvane.js");

const wanted = 10;

// A value that could not be read is not valid; it is never shown as 0.
const shown = (name, number, unit) => (number.valid ? `  ${name}${number.value} ${unit}` : "");

function gpuLine(gpu) {
    return gpu.busId.text + "  " + gpu.name.text + shown("GPU ", gpu.gpuUtilizationPercent, "%") +
        shown("", gpu.temperatureCelsius, "C") + shown("fan ", gpu.fanSpeedPercent, "%");
}

async function main() {
    const [host, words] = process.argv.slice(2);
    const session = new Session({ host, words, entry: "kit_stub in JavaScript" });
    let readings = 0;
    session.start();
    for (;;) {
        const event = await session.nextEvent();
        if (event.name === "end") {
            break;
        }
        const isReading = event.name === "gpu" || event.name === "cpu";
        if (isReading && readings === wanted) {
            continue;  // it came before the worker was stopped
        }
        if (event.name === "gpu") {
            console.log(gpuLine(event.gpu));
        } else if (event.name === "cpu") {
            console.log(`CPU  ${event.cpuTemperatureCelsius.value} C`);
        } else {
            console.error(`${event.name}  ${event.text.text}  ${event.remedy.text}`);
        }
        if (isReading && ++readings === wanted) {
            session.stop();
        }
    }
    session.close();
    process.exitCode = readings > 0 ? 0 : 1;
}

main().catch((error) => {
    console.error(error.message);
    process.exitCode = 1;
});
