// Uses the page as its reader would and tells on the console what is seen.
(async () => {
const byId = (id) => document.getElementById(id);
const seen = (element) => (element?.innerText ?? "none").replace(/\s+/g, " ").trim().slice(0, 120);
const tell = (what, ...values) => console.log(`${what}: ${values.join(" | ")}`);
const act = async (element, type, values = {}) => {
  Object.assign(element, values);
  element.dispatchEvent(new Event(type, {bubbles: true}));
  await new Promise((resolve) => setTimeout(resolve, 50));
};
const rowOf = (label) => [...document.querySelectorAll(".row")]
  .find((row) => row.querySelector("dt")?.textContent === label);

tell("injected", document.images.length, document.scripts.length, typeof owned, document.title);
tell("name", seen(document.querySelector("h1")), seen(rowOf("Identifier")));
tell("blank", seen(rowOf("Second identifier")));
tell("sections", ...[...document.querySelectorAll(".sections h2")].map(seen));
tell("finding", seen(document.querySelector(".unsound")));
tell("last", seen(byId("where")), seen(rowOf("Status")), seen(rowOf("Added")));
tell("list", seen(document.querySelector(".statements")));
await act(byId("slider"), "input", {value: -1});
tell("original", seen(byId("where")), seen(document.querySelector("h1")), seen(rowOf("Status")),
  seen(rowOf("Weight")), rowOf("Added").hidden);
tell("list", seen(document.querySelector(".statements")));
document.body.dispatchEvent(new KeyboardEvent("keydown", {key: "ArrowRight", bubbles: true}));
tell("arrow", seen(byId("where")), seen(rowOf("Name")));
tell("cut", rowOf("Comment").innerText.length < 4000, seen(rowOf("Comment").querySelector(".cut")));
tell("step", byId("step").querySelectorAll("tbody tr").length);
await act(byId("positions"), "change", {selectedIndex: 2});
tell("positions", seen(byId("where")), byId("slider").getAttribute("aria-valuetext").slice(0, 18));

rowOf("Comment").querySelector(".life").click();
tell("life", byId("life").open, seen(byId("life").querySelector("tbody tr")),
  byId("life").querySelectorAll("tbody tr").length);
byId("life").close();
rowOf("Identifier").querySelector("[data-v]").click();
tell("unchanged", seen(byId("life")));
byId("life").close();

const rows = () => `${byId("list").rows.length} rows, first ${seen(byId("list").rows[0]?.cells[4])}`;
tell("changes", seen(byId("count")), rows());
await act(byId("path"), "input", {value: "statu"});
tell("path", seen(byId("count")), rows());
await act(byId("path"), "input", {value: ""});
await act(byId("user"), "input", {value: "李"});
tell("user", seen(byId("count")));
await act(byId("user"), "input", {value: ""});
await act(byId("until"), "input", {value: "2024-01-02"});
tell("until", seen(byId("count")));
await act(byId("until"), "input", {value: ""});
for (const turn of ["up", "down"]) {
  document.querySelectorAll(".all th button")[4].click();
  tell(turn, rows(), document.querySelectorAll(".all th")[4].ariaSort);
}

const [out, zoom] = document.querySelectorAll(".tools button");
const wave = () => [seen(document.querySelector(".range")), seen(document.querySelector(".tools small")),
  document.querySelectorAll(".axis text").length, document.querySelector(".wave path").getAttribute("d").length > 99];
tell("wave", ...wave());
zoom.click();
zoom.click();
zoom.click();
tell("zoomed", ...wave());
tell("unlabelled", document.querySelectorAll("button:not([aria-label]):empty, input:not([aria-label]):not(label input), [tabindex='1']").length);
})();
