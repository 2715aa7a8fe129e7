// A stub in C#: prints ten readings and ends the worker.
//
//   csc /platform:x64 /unsafe KitStub.cs        or a project with <AllowUnsafeBlocks>
//   KitStub [PATH-OF-zorvanehost.exe [WORDS, one a line]]
//
// zorvaneclient.dll has to lie beside the program. include/zorvane/client.h says what everything
// means; the names here are the same. Without a path the DLL takes the host beside itself.
using System;
using System.Runtime.InteropServices;
using System.Text;

[StructLayout(LayoutKind.Sequential)]
struct ZorvaneNumber { public uint valid; public uint reserved; public long value; }

[StructLayout(LayoutKind.Sequential)]
unsafe struct ZorvaneText { public uint valid; public uint length; public fixed byte text[120]; }

[StructLayout(LayoutKind.Sequential)]
unsafe struct ZorvaneMessage { public uint length; public fixed byte text[1020]; }

[StructLayout(LayoutKind.Sequential)]
struct ZorvaneError
{
    public uint size; public uint result; public uint code; public uint reserved;
    public ZorvaneText call; public ZorvaneMessage text;
}

[StructLayout(LayoutKind.Sequential)]
struct ZorvaneOptions
{
    public uint size; public uint flags;
    public IntPtr host; public IntPtr library; public IntPtr entry; public IntPtr words;
    public IntPtr variables; public IntPtr callback; public IntPtr context;
    public uint hostLength; public uint libraryLength; public uint entryLength;
    public uint wordsLength; public uint variablesLength; public uint queueLength;
    public uint staleAfterMs; public uint restartAfterMs; public uint afterAskingMs;
    public uint afterWindowMs; public uint maxAgeSeconds; public uint reserved;
}

[StructLayout(LayoutKind.Sequential)]
struct ZorvaneExit
{
    public uint processId; public uint code; public uint kind; public uint greeted;
    public uint asked; public uint forced; public long livedMs; public ZorvaneNumber restartInMs;
}

[StructLayout(LayoutKind.Sequential)]
struct ZorvaneClocks
{
    public ZorvaneNumber graphics; public ZorvaneNumber sm; public ZorvaneNumber memory;
    public ZorvaneNumber video;
}

[StructLayout(LayoutKind.Sequential)]
struct ZorvaneGpu
{
    public uint index; public uint count; public ZorvaneText busId; public ZorvaneText name;
    public ZorvaneNumber pciDomain; public ZorvaneNumber pciBus; public ZorvaneNumber pciDevice;
    public ZorvaneNumber pciDeviceId; public ZorvaneNumber gpuUtilizationPercent;
    public ZorvaneNumber memoryUtilizationPercent; public ZorvaneNumber temperatureCelsius;
    public ZorvaneNumber fanSpeedPercent; public ZorvaneClocks clocksMHz;
    public ZorvaneText serial; public ZorvaneText vbiosVersion; public ZorvaneText driverVersion;
    public ZorvaneNumber totalMemoryKiB; public ZorvaneClocks maxClocksMHz;
}

[StructLayout(LayoutKind.Sequential)]
struct ZorvaneEvent
{
    public uint size; public uint type; public long timeMs; public ulong dropped;
    public uint workerId; public uint fault; public uint leftOut; public uint stopStep;
    public uint endReason; public uint code; public long sinceMs;
    public ZorvaneNumber cpuTemperatureCelsius; public ZorvaneExit exit; public ZorvaneText entry;
    public ZorvaneText call; public ZorvaneText what; public ZorvaneText id;
    public ZorvaneText brief; public ZorvaneMessage text; public ZorvaneMessage remedy;
    public ZorvaneGpu gpu;
}

static unsafe class KitStub
{
    const string Client = "zorvaneclient.dll";
    const uint NoLimit = 0xFFFFFFFF, EventGpu = 4, EventCpu = 5, EventEnd = 18;
    const int Wanted = 10;

    [DllImport(Client)]
    static extern uint zorvane_open(ZorvaneOptions* options, ulong* session, ZorvaneError* error);
    [DllImport(Client)] static extern uint zorvane_start(ulong session);
    [DllImport(Client)] static extern uint zorvane_stop(ulong session);
    [DllImport(Client)] static extern uint zorvane_close(ulong session);
    [DllImport(Client)]
    static extern uint zorvane_next_event(ulong session, ZorvaneEvent* e, uint timeoutMs);
    [DllImport(Client)] static extern IntPtr zorvane_event_name(uint type);

    static string Text(byte* text, uint length) { return Encoding.UTF8.GetString(text, (int)length); }

    // A value that could not be read is not valid; it is never shown as 0.
    static string Shown(string name, ZorvaneNumber number, string unit)
    {
        return number.valid != 0 ? "  " + name + number.value + " " + unit : "";
    }

    static string GpuLine(ref ZorvaneGpu gpu)
    {
        fixed (ZorvaneGpu* p = &gpu)
        {
            return Text(p->busId.text, p->busId.length) + "  " + Text(p->name.text, p->name.length) +
                Shown("GPU ", gpu.gpuUtilizationPercent, "%") +
                Shown("", gpu.temperatureCelsius, "C") + Shown("fan ", gpu.fanSpeedPercent, "%");
        }
    }

    // A text in UTF-8 with its NUL; null for the default. It lives as long as the program.
    static IntPtr Utf8(string text)
    {
        if (text == null) return IntPtr.Zero;
        byte[] bytes = Encoding.UTF8.GetBytes(text + "\0");
        IntPtr memory = Marshal.AllocHGlobal(bytes.Length);
        Marshal.Copy(bytes, 0, memory, bytes.Length);
        return memory;
    }

    static int Run(ulong session)
    {
        ZorvaneEvent e = new ZorvaneEvent();
        e.size = (uint)sizeof(ZorvaneEvent);
        int readings = 0;
        zorvane_start(session);
        while (zorvane_next_event(session, &e, NoLimit) == 0 && e.type != EventEnd)
        {
            bool isReading = e.type == EventGpu || e.type == EventCpu;
            if (isReading && readings == Wanted) continue; // it came before the worker was stopped
            if (e.type == EventGpu) Console.WriteLine(GpuLine(ref e.gpu));
            else if (e.type == EventCpu)
                Console.WriteLine("CPU  " + e.cpuTemperatureCelsius.value + " C");
            else
            {
                Console.Error.WriteLine(Marshal.PtrToStringAnsi(zorvane_event_name(e.type)) + "  " +
                    Text(e.text.text, e.text.length) + "  " + Text(e.remedy.text, e.remedy.length));
            }
            if (isReading && ++readings == Wanted) zorvane_stop(session);
        }
        return readings;
    }

    static int Main(string[] words)
    {
        ZorvaneOptions options = new ZorvaneOptions();
        options.size = (uint)sizeof(ZorvaneOptions);
        options.host = Utf8(words.Length > 0 ? words[0] : null);
        options.words = Utf8(words.Length > 1 ? words[1] : null);
        options.entry = Utf8("kit_stub in C#");
        ZorvaneError error = new ZorvaneError();
        error.size = (uint)sizeof(ZorvaneError);
        ulong session = 0;
        if (zorvane_open(&options, &session, &error) != 0)
        {
            Console.Error.WriteLine(Text(error.call.text, error.call.length) + ": " +
                Text(error.text.text, error.text.length));
            return 1;
        }
        int readings = Run(session);
        zorvane_close(session);
        return readings > 0 ? 0 : 1;
    }
}
