// What is read, and how it is shown.

const kGpuQuantities = [
  { id: "temperature", name: "Temperature", unit: "°C", of: (e) => e.temperature_celsius },
  { id: "gpu_use", name: "GPU use", unit: "%", of: (e) => e.gpu_utilization_percent },
  { id: "memory_use", name: "Memory use", unit: "%", of: (e) => e.memory_utilization_percent },
  { id: "fan", name: "Fan speed", unit: "%", of: (e) => e.fan_speed_percent },
  { id: "graphics", name: "Graphics clock", unit: "MHz", of: (e) => e.clocks_mhz.graphics },
  { id: "sm", name: "SM clock", unit: "MHz", of: (e) => e.clocks_mhz.sm },
  { id: "memory", name: "Memory clock", unit: "MHz", of: (e) => e.clocks_mhz.memory },
  { id: "video", name: "Video clock", unit: "MHz", of: (e) => e.clocks_mhz.video },
];

const kCpuQuantities = [
  { id: "temperature", name: "Temperature", unit: "°C", of: (e) => e.temperature_celsius },
];

// `range` is the least that the axis shows.
const kGpuCharts = [
  { title: "Temperature", unit: "°C", quantities: ["temperature"], range: [30, 60] },
  { title: "Use", unit: "%", quantities: ["gpu_use", "memory_use"], range: [0, 100] },
  { title: "Clocks", unit: "MHz", quantities: ["graphics", "sm", "memory", "video"], range: [0, 500] },
  { title: "Fan speed", unit: "%", quantities: ["fan"], range: [0, 100] },
];

const kCpuCharts = [
  { title: "Temperature", unit: "°C", quantities: ["temperature"], range: [30, 60] },
];
