// The browser version's hands and eyes for drive.py: tools/panel-emu --browser in Debian's
// Chromium, driven through playwright-core. Reads one JSON command a line on standard input
// (the names of `commands` below) and answers each with {"ok": RESULT} or {"error": TEXT}.
//
//   node browser_walk.mjs TAVIO WORK_DIR      (WORK_DIR holds the browser profile)
import { spawn } from "node:child_process";
import { mkdtempSync } from "node:fs";
import { dirname, join } from "node:path";
import { createInterface } from "node:readline";
import { fileURLToPath } from "node:url";
import { chromium } from "playwright-core";

const repo = join(dirname(fileURLToPath(import.meta.url)), "..", "..");
const [tavio, work] = process.argv.slice(2);
const KEYS = { up: "ArrowUp", down: "ArrowDown", enter: "Enter", back: "Backspace",
               theme: "t", font: "f", menus: "m" };
let bridge = null;

function startBridge(args) {
  return new Promise((resolve, reject) => {
    bridge = spawn(join(repo, "tools", "panel-emu"), ["--browser", "--tavio", tavio, ...args],
                   { stdio: ["ignore", "pipe", "inherit"] });
    let out = "";
    const timer = setTimeout(() => reject(new Error("the bridge printed no address")), 20000);
    bridge.stdout.on("data", data => {
      out += data;
      const found = out.match(/http:\/\/127\.0\.0\.1:\d+\//);
      if (found) { clearTimeout(timer); resolve(found[0]); }
    });
    bridge.on("exit", code => reject(new Error(`the bridge ended with ${code}`)));
  });
}

function stopBridge() {
  if (bridge?.exitCode === null) bridge.kill("SIGTERM");
  bridge = null;
}

async function screen(page) {
  await page.evaluate(() => busy);  // every key sent has been answered and drawn
  const rows = await page.$$eval("#grid .row", nodes =>
    nodes.map(node => [node.textContent, node.classList.contains("cursor")]));
  // The display is as wide as its columns: a full row ends at its inner edge.
  const gap = await page.$eval("#grid", node => {
    const style = getComputedStyle(node);
    const inner = node.getBoundingClientRect().right - parseFloat(style.borderRightWidth) -
      parseFloat(style.paddingRight);
    const text = document.createRange();
    text.selectNodeContents(node.querySelector(".row"));
    return inner - text.getBoundingClientRect().right;
  });
  if (Math.abs(gap) > 1) throw new Error(`the display is ${gap} px wider than its columns`);
  return { width: rows.length ? rows[0][0].length : 0, rows: rows.map(([text]) => text),
           cursor: rows.flatMap(([, marked], index) => marked ? [index] : []),
           below: await page.$$eval("#grid #more:not([hidden])", nodes => nodes.length > 0) };
}

const browser = await chromium.launchPersistentContext(mkdtempSync(join(work, "profile.")), {
  executablePath: "/usr/bin/chromium",
  headless: true,
  args: ["--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
         "--disable-background-networking", "--disable-component-update", "--disable-sync"],
  viewport: { width: 560, height: 420 },
});
const page = browser.pages()[0] || await browser.newPage();
const commands = {
  // a bridge on ROOT (the last one stopped), the page loaded
  async start(root, ...args) {
    stopBridge();
    await page.goto(await startBridge(["--root", root, ...args]));
    await page.waitForSelector("#grid .row");
  },
  async keys(...keys) {  // by keyboard; keypad characters by their buttons
    for (const key of keys) {
      if (KEYS[key]) await page.keyboard.press(KEYS[key]);
      else await page.click(`#keypad button[data-key="${key}"]`);
    }
  },
  screen: () => screen(page),  // {width, rows, cursor, below} as the page draws them
  async status() {  // the status line's first part
    await screen(page);
    return (await page.textContent("#status")).split(" | ")[0];
  },
  screenshot: file => page.locator("#device").screenshot({ path: file }).then(() => null),
};
for await (const line of createInterface({ input: process.stdin })) {
  const [word, ...args] = JSON.parse(line);
  try {
    process.stdout.write(JSON.stringify({ ok: (await commands[word](...args)) ?? null }) + "\n");
  } catch (error) {
    process.stdout.write(JSON.stringify({ error: error.message }) + "\n");
  }
}
stopBridge();
await browser.close();
