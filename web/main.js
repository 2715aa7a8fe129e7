const s_data = byId("data");
const s_page = s_data ? new Report(JSON.parse(s_data.textContent)) : new Live();
