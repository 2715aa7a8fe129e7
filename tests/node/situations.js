// What a stub in JavaScript sees of workers that behave, and of those that do not.
//
//   node situations.js ZORVANE_JS FAKEWORKER ABI_LIST
//
// Prints "passed NAME" or "failed NAME: why" for each case.
"use strict";
const assert = require("assert");
const fs = require("fs");

const [binding, host, abiList] = process.argv.slice(2);
const { Session, koffi, types } = require(binding);

const noRestart = 1;
const impatient = {
    staleAfterMs: 50, restartAfterMs: 100, afterAskingMs: 20, afterWindowMs: 20, flags: noRestart };

// All events of a session from its start to its end; `act` may do something at each.
async function eventsOf(script, options = {}, act = () => {}) {
    const session = new Session({ host, words: script.join("\n"), entry: "node", ...options });
    try {
        assert.strictEqual(session.start(), 0);
        const events = [];
        do {
            const event = await session.nextEvent(30000);
            assert.ok(event, "no event has come for half a minute");
            events.push(event);
            act(event, session);
        } while (events.at(-1).name !== "end");
        return events;
    } finally {
        session.close();
    }
}

const names = (events) => events.map((event) => event.name);

const cases = {
    async HasTheLayoutOfTheInterface() {
        const stored = {};
        let members = null;
        for (const line of fs.readFileSync(abiList, "utf8").split(/\r?\n/)) {
            const words = line.trim().split(" ");
            if (words[0] === "struct") {
                members = {};
                stored[words[1]] = { size: Number(words[2]), members };
            } else if (/^\d/.test(words[0])) {
                members[words[3]] = Number(words[0]);
            }
        }
        const actual = {};
        for (const [name, type] of Object.entries(types)) {
            const declared = Object.keys(koffi.introspect(type).members);
            actual[name] = { size: koffi.sizeof(type), members: Object.fromEntries(
                declared.map((member) => [member, koffi.offsetof(type, member)])) };
        }
        assert.deepStrictEqual(actual, stored);
    },

    async ReadsAndStopsAHealthyWorker() {
        const events = await eventsOf(["hello", "static:1", "gpu:1", "cpu:{\"CpuTemp\":47}"], {},
            (event, session) => event.name === "cpu" && session.stop());
        assert.deepStrictEqual(names(events), ["worker_start", "hello", "gpu_static", "gpu", "cpu",
            "stop_step", "worker_exit", "end"]);
        const { gpu } = events[3];
        assert.strictEqual(gpu.name.text, "Fake GPU 1");
        assert.strictEqual(gpu.busId.text, "00000000:08:00.0");
        assert.strictEqual(gpu.temperatureCelsius.value, 51);
        assert.strictEqual(gpu.serial.valid, 0);
        assert.strictEqual(events[4].cpuTemperatureCelsius.value, 47);
        assert.strictEqual(events[6].text.text, "ended in order (0)");
    },

    async SeesAHungWorkerEndedByAllSteps() {
        const events = await eventsOf(["deaf", "blind"], impatient);
        assert.deepStrictEqual(names(events), ["worker_start", "stale", "notice", "stop_step",
            "stop_step", "stop_step", "worker_exit", "end"]);
        assert.strictEqual(events[2].id.text, "worker.given_up");
        assert.deepStrictEqual(events.slice(3, 6).map((event) => event.stopStep), [1, 2, 3]);
        assert.strictEqual(events[6].exit.forced, 1);
    },

    async SeesACrash() {
        const events = await eventsOf(["hello", "crash"], { flags: noRestart });
        assert.deepStrictEqual(names(events), ["worker_start", "hello", "worker_exit", "end"]);
        assert.strictEqual(events[2].exit.code, 0xC0000005);
        assert.strictEqual(events[2].exit.kind, 4);
        assert.strictEqual(events[2].exit.restartInMs.valid, 0);
        assert.match(events[2].text.text, /access violation/);
        assert.strictEqual(events[3].endReason, 2);
    },

    async SeesTheRestartAfterACrash() {
        const events = await eventsOf(["hello", "crash"], {}, (event, session) => {
            if (event.name === "worker_exit") {
                assert.strictEqual(event.exit.restartInMs.value, 1000);
                session.stop();
            }
        });
        assert.strictEqual(events.at(-1).endReason, 1);
    },

    async SeesASilenceAndItsEnd() {
        const events = await eventsOf(
            ["hello", "gpu:0", "gpu:0", "sleep:400", "gpu:0", "gpu:0", "gpu:0"],
            { staleAfterMs: 150 }, (event, session) => event.name === "fresh" && session.stop());
        const [stale, fresh] = ["stale", "fresh"].map((name) => names(events).indexOf(name));
        assert.ok(stale > 0 && fresh > stale, names(events).join(" "));
        assert.strictEqual(events[stale].sinceMs, events[fresh].sinceMs);
    },

    async IsToldThatThereIsNoWorker() {
        const events = await eventsOf([], { host: "Z:\\missing.exe" });
        assert.deepStrictEqual(names(events), ["start_failed", "end"]);
        assert.strictEqual(events[0].call.text, "CreateProcessW Z:\\missing.exe");
        assert.strictEqual(events[0].code, 2);
        assert.strictEqual(events[1].endReason, 3);
    },

    async IsToldThatTheHostFoundNoLibrary() {
        const events = await eventsOf(["exit:2"]);
        assert.deepStrictEqual(names(events), ["worker_start", "worker_exit", "end"]);
        assert.strictEqual(events[1].exit.kind, 3);
        assert.match(events[1].text.text, /found no library/);
    },

    async PausesAndResumes() {
        let hellos = 0;
        const events = await eventsOf(["hello"], {}, (event, session) => {
            if (event.name === "hello") {
                ++hellos;
                assert.strictEqual(hellos === 1 ? session.pause() : session.stop(), 0);
            } else if (event.name === "paused") {
                assert.strictEqual(session.resume(), 0);
            }
        });
        assert.strictEqual(hellos, 2);
        assert.ok(names(events).includes("resumed"));
    },

    async RunsSessionsSideBySide() {
        const one = (entry) => eventsOf(["hello", "gpu:0"], { entry },
            (event, session) => event.name === "gpu" && session.stop());
        const all = await Promise.all([one("first"), one("second"), one("third")]);
        assert.deepStrictEqual(all.map((events) => events[1].entry.text),
            ["first", "second", "third"]);
    },

    async NamesAnOptionThatIsWrong() {
        assert.throws(() => new Session({ host, variables: "no equals sign" }),
            /variables: not NAME=VALUE: no equals sign/);
    },
};

(async () => {
    for (const [name, run] of Object.entries(cases)) {
        try {
            await run();
            console.log(`passed ${name}`);
        } catch (error) {
            console.log(`failed ${name}: ${error.message}`);
            process.exitCode = 1;
        }
    }
})();
