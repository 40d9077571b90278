// Walks walk.scenario on the browser version: tools/panel-emu --browser, Debian's Chromium
// driven through playwright-core. Keys go in by keyboard, keypad characters by their buttons;
// the grid is read back from the page.
//
//   node browser_walk.mjs TAVIO WORK_DIR [SCREENSHOT.png]
//
// WORK_DIR (made and removed by the caller) holds the roots and the browser profile.
import { spawn } from "node:child_process";
import { cpSync, mkdtempSync, readFileSync, writeFileSync } from "node:fs";
import { dirname, join } from "node:path";
import { fileURLToPath } from "node:url";
import { chromium } from "playwright-core";

const here = dirname(fileURLToPath(import.meta.url));
const repo = join(here, "..", "..");
const [tavio, work, screenshot] = process.argv.slice(2);
const KEYS = { up: "ArrowUp", down: "ArrowDown", enter: "Enter", back: "Backspace",
               theme: "t", font: "f", menus: "m" };

let bridge = null;
let browser = null;

function startBridge(args) {
  return new Promise((resolve, reject) => {
    const child = spawn(join(repo, "tools", "panel-emu"), ["--browser", "--tavio", tavio, ...args],
                        { stdio: ["ignore", "pipe", "inherit"] });
    let out = "";
    const timer = setTimeout(() => reject(new Error("the bridge printed no address")), 20000);
    child.stdout.on("data", data => {
      out += data;
      const found = out.match(/http:\/\/127\.0\.0\.1:\d+\//);
      if (found) { clearTimeout(timer); resolve([child, found[0]]); }
    });
    child.on("exit", code => reject(new Error(`the bridge ended with ${code}`)));
  });
}

function stopBridge() {
  if (bridge && bridge.exitCode === null) bridge.kill("SIGTERM");
  bridge = null;
}

async function grid(page) {
  await page.evaluate(() => busy);  // every key sent has been answered and drawn
  const rows = await page.$$eval("#grid .row", nodes =>
    nodes.map(node => [node.textContent, node.classList.contains("cursor")]));
  const below = await page.$$eval("#grid #more:not([hidden])", nodes => nodes.length > 0);
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
  const width = rows.length ? rows[0][0].length : 0;
  const rule = " +" + "-".repeat(width) + "+";
  const bottom = below ? rule.slice(0, -2) + "v+" : rule;  // as panelemu.panel.picture draws it
  return [rule, ...rows.map(([text, marked]) => (marked ? ">" : " ") + "|" + text + "|"), bottom];
}

async function main() {
  // A fresh profile of its own (the --user-data-dir Chromium is given).
  browser = await chromium.launchPersistentContext(mkdtempSync(join(work, "profile.")), {
    executablePath: "/usr/bin/chromium",
    headless: true,
    args: ["--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
           "--disable-background-networking", "--disable-component-update", "--disable-sync"],
    viewport: { width: 560, height: 420 },
  });
  const page = browser.pages()[0] || await browser.newPage();
  let root = null;
  let checks = 0;
  const lines = readFileSync(join(here, "walk.scenario"), "utf8").split("\n");
  for (const [index, line] of lines.entries()) {
    if (!line.trim() || line.startsWith("#")) continue;
    const [word, ...words] = line.split(" ");
    const rest = words.join(" ");
    const where = `walk.scenario:${index + 1}: ${line}`;
    if (word === "start") {
      stopBridge();
      root = mkdtempSync(join(work, "root."));
      cpSync(join(repo, "sim", "router"), root, { recursive: true, verbatimSymlinks: true });
      let url;
      [bridge, url] = await startBridge(["--root", root, ...words]);
      await page.goto(url);
      await page.waitForSelector("#grid .row");
    } else if (word === "keys") {
      for (const key of words) {
        if (KEYS[key]) await page.keyboard.press(KEYS[key]);
        else await page.click(`#keypad button[data-key="${key}"]`);
      }
    } else if (word === "expect") {
      const seen = await grid(page);
      const file = join(here, "golden", rest + ".grid");
      if (process.env.EMULATOR_UPDATE_GOLDEN) writeFileSync(file, seen.join("\n") + "\n");
      else if (readFileSync(file, "utf8") !== seen.join("\n") + "\n")
        throw new Error(`${where}: the grid is\n${seen.join("\n")}`);
    } else if (word === "contains") {
      const seen = await grid(page);
      if (!seen.some(row => row.includes(rest)))
        throw new Error(`${where}: not in the grid\n${seen.join("\n")}`);
    } else if (word === "status") {
      await grid(page);
      const status = (await page.textContent("#status")).split(" | ")[0];
      if (!new RegExp(`^${rest} \\d+ ms, \\d+ tools?$`).test(status))
        throw new Error(`${where}: the status line is '${status}'`);
    } else if (word === "fault" && rest === "api-down") {
      writeFileSync(join(root, "sim", "api", "DOWN"), "");
    } else if (word === "screenshot") {
      if (screenshot) await page.locator("#device").screenshot({ path: screenshot });
      continue;
    } else if (word !== "polls") {
      throw new Error(`${where}: unknown step`);
    }
    checks += ["expect", "contains", "status"].includes(word) ? 1 : 0;
  }
  console.log(`browser: ${checks} checks passed`);
}

let status = 0;
try {
  await main();
} catch (error) {
  console.log(`FAIL browser: ${error.message}`);
  status = 1;
} finally {
  stopBridge();
  if (browser) await browser.close();
}
process.exit(status);
