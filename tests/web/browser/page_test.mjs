// usage: node page_test.mjs PINPAD-SIM PINPAD KEY-LATENCY [FOLDER-FOR-SCREENSHOTS]
import assert from 'node:assert/strict';
import { after, test } from 'node:test';
import jsqr from 'jsqr';
import { PNG } from 'pngjs';
import { Bench, Program, until } from './bench.mjs';

const [simulator, tool, latencyHost, screenshots] = process.argv.slice(2);
// Whoever runs this beside other work gets the times told, not judged.
const judged = process.env.PINPAD_JUDGE_TIMES === '1';

// A picture of 96 by 64 points, striped.
function picture() {
  const png = new PNG({ width: 96, height: 64 });
  for (let y = 0; y < 64; ++y) {
    for (let x = 0; x < 96; ++x)
      png.data.set((x + y) % 32 < 16 ? [21, 84, 184, 255] : [255, 197, 61, 255], (y * 96 + x) * 4);
  }
  return PNG.sync.write(png).toString('hex').toUpperCase();
}

const scenario = `prompt 3 "LOYALTY NUMBER"
media LOGO hex ${picture()} type 1
card gold track1 "B4111111111111111^GOLD/CUSTOMER^3012" track2 "4111111111111111=3012"
`;

const bench = await Bench.start(simulator, scenario, screenshots && '/tmp/pinpad');
const page = await bench.open();
const application = (...words) => new Program(tool, ['--port', bench.port, ...words]);
const pending = (command) => page.locator('#lamp-pending.on', { hasText: command }).waitFor();
const shown = (text) => page.locator('#lines', { hasText: text }).waitFor();
const fault = (name, how) => page.getByRole('button', { name: `${name}, ${how}`, exact: true });
const frames = (text) => page.locator('#frames li', { hasText: text });

async function keep(name, from = page) {
  if (screenshots) await from.screenshot({ path: `${screenshots}/${name}.png` });
}

async function ends(program, status) {
  assert.equal(await program.ended, status, program.output + program.errors);
  // The page may be some moments behind; what waits on it now would be taken for what comes next.
  await page.locator('#lamp-pending:not(.on)').waitFor();
  return program.output;
}

for (const secure of [false, true]) {
  test(`digits typed on the page reach a ${secure ? 'secure' : 'plain'} session`, async () => {
    const host = application(...(secure ? ['--secure'] : []), 'capture', '--prompt', '3',
      '--min', '5', '--max', '11');
    await pending('GCD');
    await shown('LOYALTY NUMBER');
    assert.equal(await page.locator('#lamp-secure').getAttribute('aria-label'),
      `Secure lamp ${secure ? 'on' : 'off'}`);
    for (const digit of '4071')
      await page.locator('#keypad').getByRole('button', { name: digit, exact: true }).click();
    await page.keyboard.press('9');
    await shown('40719');
    if (secure) await keep('capture');
    await page.getByRole('button', { name: 'Enter', exact: true }).click();
    assert.match(await ends(host, 0), /\b40719\b/);
  });
}

test('several browsers show the same device', async () => {
  const other = await bench.open();
  const host = application('capture', '--prompt', '3', '--min', '1', '--max', '4');
  await pending('GCD');
  await other.keyboard.press('6');
  await shown('6');
  await other.locator('#lines', { hasText: '6' }).waitFor();
  await page.keyboard.press('Enter');
  await ends(host, 0);
  assert.deepEqual(other.problems, []);
  await other.close();
});

test('a QR code on the page can be read from the screen', async () => {
  const text = 'https://example.com/pay/4711?amount=12.90';
  const host = application('qr', text, '--line', 'PAGUE AQUI');
  await page.locator('#qr').waitFor();
  await keep('qr-code');
  const png = PNG.sync.read(await page.locator('#display').screenshot());
  assert.equal(jsqr(new Uint8ClampedArray(png.data), png.width, png.height)?.data, text);
  await page.keyboard.press('Enter');
  await ends(host, 0);
});

test('an image of the store is drawn', async () => {
  const host = new Program(tool, ['--port', bench.port, 'session', '-'],
    'image LOGO\nevent --options 100000\n');
  await pending('CEX');
  const image = page.locator('#media').getByRole('img', { name: 'LOGO' });
  await image.waitFor();
  assert.equal(await image.evaluate((element) => element.decode().then(() => element.naturalWidth)), 96);
  await keep('image');
  await page.keyboard.press('F2');
  await ends(host, 0);
});

test('a survey is answered by its buttons', async () => {
  const host = application('cxsurvey', 'QUE NOTA NOS DA?', '--score-type', '4');
  const button = page.locator('#survey').getByRole('button', { name: '7', exact: true });
  await button.waitFor();
  await keep('survey');
  await button.click();
  assert.match(await ends(host, 0), /7/);
});

test('a card that is drawn through the device reaches the application', async () => {
  const host = application('event', '--options', '110000');
  await pending('CEX');
  await page.getByLabel('Magnetic card').selectOption('gold');
  await page.getByRole('button', { name: 'Swipe' }).click();
  await ends(host, 0);
});

test('the chip slot and the contactless field hold a card', async () => {
  for (const [name, card] of [['Chip slot', 'card inside'], ['Contactless', 'card held up']]) {
    const reader = page.getByRole('button', { name });
    await reader.click();
    await reader.and(page.locator('[aria-pressed="true"]')).waitFor();
    await reader.getByText(card).waitFor();
    await reader.click();
    await reader.and(page.locator('[aria-pressed="false"]')).waitFor();
  }
});

test('a fault of the switches strikes, and the wire shows how the application tries again', async () => {
  await page.getByRole('button', { name: 'Clear', exact: true }).last().click();
  await page.getByLabel('strike').selectOption('DEX');
  await fault('NAK', 'once').click();
  await fault('NAK', 'once').and(page.locator('[aria-pressed="true"]')).waitFor();
  await ends(application('display', 'BOM DIA'), 0);
  await frames('NAK').waitFor();
  await until('the command sent again', async () => await frames('show a text').filter(
    { hasText: 'host' }).count() === 2);
  await fault('NAK', 'once').and(page.locator('[aria-pressed="false"]')).waitFor();
  await fault('Bad CRC', 'always').click();
  await fault('Bad CRC', 'always').and(page.locator('[aria-pressed="true"]')).waitFor();
  assert.notEqual(await application('display', 'BOA TARDE').ended, 0);
  await keep('faults');
  await page.getByRole('button', { name: 'All off' }).click();
  await fault('Bad CRC', 'always').and(page.locator('[aria-pressed="false"]')).waitFor();
  await ends(application('display', 'BOA NOITE'), 0);
});

test('a status of the switches is answered instead of what was asked', async () => {
  await page.getByLabel('strike').selectOption('GCD');
  await page.getByLabel('Status: value').fill('013');
  await fault('Status', 'once').click();
  await fault('Status', 'once').and(page.locator('[aria-pressed="true"]')).waitFor();
  await ends(application('capture', '--prompt', '3', '--min', '1', '--max', '2'), 1);
  await fault('Status', 'once').and(page.locator('[aria-pressed="false"]')).waitFor();
});

test('the filter leaves the frames that have its words', async () => {
  await page.getByRole('searchbox').fill('nak device');
  await until('one frame', async () => await page.locator('#frames li').count() === 1);
  await page.getByRole('searchbox').fill('');
  await until('all frames', async () => await page.locator('#frames li').count() > 10);
  await frames('show a text').first().locator('summary').click();
  await frames('show a text').first().getByText('bytes').waitFor();
});

test('the cable can be pulled and put back', async () => {
  const host = application('capture', '--prompt', '3', '--min', '1', '--max', '2');
  await pending('GCD');
  await page.getByRole('button', { name: 'Unplug', exact: true }).click();
  assert.notEqual(await host.ended, 0);
  await page.locator('#lamp-power:not(.on)').waitFor();
  await keep('unplugged');
  await page.getByRole('button', { name: 'Plug in again' }).click();
  await page.locator('#lamp-power.on').waitFor();
  await ends(application('display', 'DE VOLTA'), 0);
});

test('a session is saved and replayed', async () => {
  const ask = () => application('capture', '--prompt', '3', '--min', '1', '--max', '6');
  const file = page.waitForEvent('download');
  await page.getByRole('textbox', { name: 'Scenario' }).fill(scenario);
  await page.getByRole('button', { name: 'Replay' }).click();
  await page.getByText('A fresh device runs').waitFor();
  const first = ask();
  await pending('GCD');
  for (const key of ['3', '1', '8', 'Enter'])
    await page.keyboard.press(key);
  assert.match(await ends(first, 0), /\b318\b/);
  await page.getByRole('button', { name: 'Save as scenario' }).click();
  assert.equal((await file).suggestedFilename(), 'session.scn');
  await page.getByRole('button', { name: 'Replay' }).click();
  await page.getByText('A fresh device runs').waitFor();
  assert.match(await ends(ask(), 0), /\b318\b/);
});

test('the page can be used by the keyboard alone, and every control has a name', async () => {
  const controls = page.locator('button, input, select, textarea');
  for (const control of await controls.all()) {
    const name = await control.evaluate((element) => element.getAttribute('aria-label') ||
      element.innerText || [...(element.labels || [])].map((label) => label.textContent).join(''));
    assert.notEqual(name.trim(), '', await control.evaluate((element) => element.outerHTML));
  }
  const reached = new Set();
  await page.locator('h1').click();
  for (let presses = 0; presses < 80; ++presses) {
    await page.keyboard.press('Tab');
    reached.add(await page.evaluate(() => document.activeElement.id || document.activeElement.textContent));
  }
  for (const id of ['chip', 'field', 'cable', 'filter', 'frames', 'target', 'calm', 'save', 'scenario'])
    assert.ok(reached.has(id), `${id} cannot be reached`);
});

test('a key reaches the poll of the application at once', async () => {
  const count = 30;
  await page.evaluate(() => {
    window.keyTimes = [];
    document.addEventListener('keydown', (event) => {
      if (event.key === 'Enter') window.keyTimes.push(performance.timeOrigin + event.timeStamp);
    }, true);
  });
  await page.locator('h1').click();
  const host = new Program(latencyHost, [bench.port, String(count)]);
  for (let turn = 0; turn < count; ++turn) {
    await page.locator('#lines', { hasText: /^LOYALTY NUMBER$/ }).waitFor();
    await page.keyboard.press('5');
    await shown('5');
    await page.keyboard.press('Enter');
    await until('the answer', () => host.output.split('\n').length > turn + 1);
  }
  const answered = (await ends(host, 0)).trim().split('\n').map(Number);
  const pressed = await page.evaluate(() => window.keyTimes);
  assert.equal(pressed.length, count);
  const delays = answered.map((time, turn) => time - pressed[turn]).sort((a, b) => a - b);
  const nearly = delays[Math.floor(count * 0.9)];
  console.log(`key to poll: median ${delays[count / 2].toFixed(1)} ms, 90 % within ` +
    `${nearly.toFixed(1)} ms, slowest ${delays[count - 1].toFixed(1)} ms`);
  assert.ok(delays[0] > 0, 'the clocks do not agree');
  if (judged) assert.ok(nearly < 20, `${nearly} ms`);
});

test('a thousand frames a second leave the page responsive', async () => {
  const lines = 'display HELLO\n'.repeat(2500);
  await page.evaluate(() => {
    window.gaps = [];
    let last = performance.now();
    const look = (now) => {
      window.gaps.push(now - last);
      last = now;
      requestAnimationFrame(look);
    };
    requestAnimationFrame(look);
  });
  const begun = Date.now();
  const commands = async () => Number(/(\d+) commands/.exec(await page.locator('#struck').innerText())[1]);
  const before = await commands();
  const host = new Program(tool, ['--port', bench.port, 'session', '-'], lines);
  await until('frames', async () => await commands() > before + 100);
  const clicks = [];
  for (let turn = 0; turn < 10; ++turn) {
    const start = Date.now();
    await page.getByRole('button', { name: 'Pause' }).click();
    await page.getByRole('button', { name: 'Pause' }).click();
    clicks.push((Date.now() - start) / 2);
  }
  await ends(host, 0);
  const seconds = (Date.now() - begun) / 1000;
  const rate = 4 * (await commands() - before) / seconds;
  const gaps = (await page.evaluate(() => window.gaps)).sort((a, b) => a - b);
  const nearly = gaps[Math.floor(gaps.length * 0.95)];
  console.log(`${rate.toFixed(0)} frames/s for ${seconds.toFixed(1)} s: 95 % of the screen's frames ` +
    `within ${nearly.toFixed(0)} ms, the slowest ${gaps[gaps.length - 1].toFixed(0)} ms; ` +
    `a click ${(clicks.reduce((a, b) => a + b) / clicks.length).toFixed(0)} ms`);
  assert.ok(gaps.length > 0);
  if (judged) {
    assert.ok(rate > 1000, `only ${rate} frames a second`);
    assert.ok(nearly < 100, `${nearly} ms`);
  }
});

test('the page fits a phone, and is drawn in the dark', async () => {
  const phone = await bench.open({ viewport: { width: 390, height: 844 } });
  assert.ok(await phone.evaluate(() => document.documentElement.scrollWidth <= window.innerWidth));
  await keep('phone', phone);
  await phone.close();
  const dark = await bench.open({ colorScheme: 'dark' });
  await keep('dark', dark);
  const brightness = await dark.evaluate(() => getComputedStyle(document.body).backgroundColor
    .match(/\d+/g).map(Number)[0]);
  assert.ok(brightness < 64);
  await dark.close();
});

test('nothing went wrong on the page', () => {
  assert.deepEqual(page.problems, []);
});

after(() => bench.stop());
