// A phone's browser on the remote's page: Debian's Chromium, headless, driven
// by playwright-core, in a fresh profile of its own. Prints one JSON object with what it saw; the C++ test
// checks the show's side.
//   node remote_phone.mjs <page URL with token> <web socket port>
import { chromium } from "playwright-core";

const [url, wsPort] = process.argv.slice(2);
const seen = {};
const browser = await chromium.launch({
  executablePath: "/usr/bin/chromium",
  args: ["--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
         "--disable-background-networking", "--disable-component-update", "--disable-sync"],
});
try {
  const page = await browser.newPage({ viewport: { width: 390, height: 844 }, hasTouch: true, isMobile: true });

  const refused = await page.goto(url.replace(/k=[a-z0-9]+/, "k=zzzzzz"));
  seen.wrongTokenStatus = refused.status();
  seen.wrongTokenHasTiles = (await page.locator("#grid button").count()) > 0;

  await page.goto(url);
  await page.waitForSelector("#status.live", { timeout: 10000 });
  await page.waitForSelector("#grid button", { timeout: 10000 });
  seen.deck = await page.textContent("#deck");
  seen.labels = await page.locator("#grid button").allTextContents();

  // A scene tile: its tally lights on the next push after the press.
  const scene = page.locator("#grid button", { hasText: "Opening" });
  const pressed = Date.now();
  await scene.tap();
  await page.waitForSelector('#grid button[data-on="1"]:has-text("Opening")', { timeout: 5000 });
  seen.tallyMs = Date.now() - pressed;

  await page.locator("#grid button", { hasText: "CUT" }).tap();

  // A fader tile, moved as a finger would leave it.
  await page.locator("#grid input[type=range]").evaluate((input) => {
    input.value = "0.75";
    input.dispatchEvent(new Event("input", { bubbles: true }));
    input.dispatchEvent(new Event("change", { bubbles: true }));
  });

  // A WebSocket that brings a wrong token is closed.
  seen.wrongSocket = await page.evaluate((port) => new Promise((resolve) => {
    const socket = new WebSocket("ws://" + location.hostname + ":" + port + "/");
    socket.onopen = () => socket.send(JSON.stringify({ auth: "zzzzzz" }));
    socket.onmessage = () => resolve("answered");
    socket.onclose = () => resolve("closed");
    setTimeout(() => resolve("still open"), 4000);
  }), Number(wsPort));
  // Let the last commands reach the show before the page goes.
  await page.waitForTimeout(300);
} finally {
  await browser.close();
}
console.log(JSON.stringify(seen));
