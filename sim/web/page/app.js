'use strict';

const byId = (id) => document.getElementById(id);
const make = (tag, className, text) => {
  const element = document.createElement(tag);
  if (className) element.className = className;
  if (text !== undefined) element.textContent = text;
  return element;
};

// ---- The connection ----

let socket = null;
let state = null;
let lastFrame = 0;

function send(message) {
  if (socket && socket.readyState === WebSocket.OPEN) socket.send(JSON.stringify(message));
}

function showLink(text, bad) {
  byId('link').textContent = text;
  byId('link').classList.toggle('bad', bad);
}

function connect() {
  socket = new WebSocket(`ws://${location.host}/live`);
  socket.onopen = () => {
    lastFrame = 0;
    wipeFrames();
    showLink('live', false);
  };
  socket.onclose = () => {
    showLink('not connected, trying again…', true);
    setTimeout(connect, 1000);
  };
  socket.onmessage = (event) => {
    const message = JSON.parse(event.data);
    if (message.type === 'state') showState(message);
    else if (message.type === 'frames') takeFrames(message);
    else if (message.type === 'recording') showRecording(message.scenario);
    else if (message.type === 'replaying') notice('A fresh device runs this scenario.');
    else if (message.type === 'problem') notice(`Not done: ${message.why}`);
  };
}

// ---- The device ----

function setText(element, text) {
  if (element.textContent !== text) element.textContent = text;
}

function lamp(id, on) {
  const element = byId(id);
  element.classList.toggle('on', on);
  element.setAttribute('aria-label', `${element.firstChild.textContent} lamp ${on ? 'on' : 'off'}`);
}

function showState(now) {
  const before = state;
  state = now;
  setText(byId('port'), now.plugged ? now.port : 'unplugged');
  lamp('lamp-power', now.plugged);
  lamp('lamp-session', now.open);
  lamp('lamp-secure', now.secure);
  lamp('lamp-pending', now.waiting);
  setText(byId('pending'), now.waiting ? ` ${now.pending}` : '');
  showDisplay(now);
  pressed('chip', now.chip, now.chip ? 'card inside' : 'empty');
  pressed('field', now.held, now.held ? 'card held up' : 'no card');
  setText(byId('cable'), now.plugged ? 'Unplug' : 'Plug in again');
  showCards(now.cards);
  showArmed();
  setText(byId('struck'), `${now.faults} faults struck, ${now.refused} frames refused, ` +
    `${now.resends} responses sent again, ${now.commands} commands taken.`);
  if (before && now.beeps > before.beeps) click(880, 0.12);
}

function pressed(id, on, text) {
  byId(id).setAttribute('aria-pressed', String(on));
  setText(byId(`${id}-state`), text);
}

function showDisplay(now) {
  byId('display').classList.toggle('off', !now.plugged);
  byId('display').style.setProperty('--columns', now.columns);
  setText(byId('lines'), now.lines.join('\n'));
  const media = JSON.stringify(now.media);
  if (byId('media').dataset.shown !== media) {
    byId('media').dataset.shown = media;
    byId('media').replaceChildren(...now.media.map(drawMedia));
  }
  drawQr(now.qr, now.qrText);
  if (byId('survey').dataset.buttons !== now.buttons) {
    byId('survey').dataset.buttons = now.buttons;
    byId('survey').replaceChildren(...[...now.buttons].map(drawButton));
    byId('survey').hidden = now.buttons === '';
  }
}

function drawMedia(item) {
  if (!item.path) return make('span', 'file-name', item.name);
  const image = make('img');
  image.src = item.path;
  image.alt = item.name;
  return image;
}

function drawButton(button) {
  const element = make('button', '', button);
  element.type = 'button';
  element.addEventListener('click', () => {
    click();
    send({ do: 'button', button });
  });
  return element;
}

function drawQr(rows, text) {
  const canvas = byId('qr');
  canvas.hidden = rows.length === 0;
  if (canvas.dataset.text === text && canvas.dataset.rows === String(rows.length)) return;
  canvas.dataset.text = text;
  canvas.dataset.rows = String(rows.length);
  canvas.setAttribute('aria-label', `QR code: ${text}`);
  const quiet = 4;
  const scale = Math.max(1, Math.floor(400 / (rows.length + 2 * quiet)));
  const size = (rows.length + 2 * quiet) * scale;
  canvas.width = canvas.height = size;
  const pen = canvas.getContext('2d');
  pen.fillStyle = '#ffffff';
  pen.fillRect(0, 0, size, size);
  pen.fillStyle = '#000000';
  rows.forEach((row, y) => [...row].forEach((module, x) => {
    if (module === '1') pen.fillRect((x + quiet) * scale, (y + quiet) * scale, scale, scale);
  }));
}

// ---- Keys and cards ----

let audio = null;
function click(frequency = 1800, seconds = 0.012) {
  if (!byId('sound').checked) return;
  audio = audio || new AudioContext();
  const tone = audio.createOscillator();
  const volume = audio.createGain();
  volume.gain.value = 0.08;
  tone.frequency.value = frequency;
  tone.connect(volume).connect(audio.destination);
  tone.start();
  tone.stop(audio.currentTime + seconds);
}

function pressDigit(digit) {
  click();
  if (state && state.buttons.includes(digit)) send({ do: 'button', button: digit });
  else send({ do: 'press', digits: digit });
}

function pressKey(key) {
  click();
  send({ do: 'key', key });
}

// A key goes down when the finger does, not when it is lifted.
for (const button of document.querySelectorAll('.keypad button')) {
  const act = () => {
    if (button.dataset.digit) pressDigit(button.dataset.digit);
    else pressKey(button.dataset.key);
  };
  button.addEventListener('pointerdown', (event) => {
    if (event.button === 0) act();
  });
  // Keyboards and screen readers click without a pointer.
  button.addEventListener('click', (event) => {
    if (event.detail === 0) act();
  });
}

const keysOfKeyboard = {
  Enter: 'enter', Escape: 'cancel', Backspace: 'backspace', Delete: 'clear',
  ArrowUp: 'up', ArrowDown: 'down', F1: 'f1', F2: 'f2', F3: 'f3', F4: 'f4',
};

function flash(selector) {
  const button = document.querySelector(selector);
  if (!button) return;
  button.classList.add('down');
  setTimeout(() => button.classList.remove('down'), 100);
}

document.addEventListener('keydown', (event) => {
  const target = event.target;
  if (event.ctrlKey || event.metaKey || event.altKey || event.repeat) return;
  if (target.matches('input:not([type="checkbox"]), textarea, select')) return;
  const onControl = target.matches('button, summary, a, input');
  if (/^[0-9]$/.test(event.key)) {
    pressDigit(event.key);
    flash(`[data-digit="${event.key}"]`);
  } else if (/^[a-c]$/i.test(event.key) && state && state.buttons.includes(event.key.toUpperCase())) {
    send({ do: 'button', button: event.key.toUpperCase() });
  } else if (event.key in keysOfKeyboard && !(onControl && event.key === 'Enter')) {
    event.preventDefault();
    pressKey(keysOfKeyboard[event.key]);
    flash(`[data-key="${keysOfKeyboard[event.key]}"]`);
  }
});

// After a click the keyboard is the keypad again, and Enter does not press the same button twice.
document.addEventListener('click', (event) => {
  const button = event.target.closest('button');
  if (button && event.detail > 0) button.blur();
});

byId('chip').addEventListener('click', () => send({ do: state && state.chip ? 'remove' : 'insert' }));
byId('field').addEventListener('click', () => send({ do: state && state.held ? 'take' : 'hold' }));
byId('tap').addEventListener('click', () => send({ do: 'tap' }));
byId('cable').addEventListener('click', () => send({ do: state && state.plugged ? 'unplug' : 'replug' }));

function showCards(cards) {
  const list = byId('cards');
  const names = JSON.stringify(cards.map((card) => card.name));
  if (list.dataset.names === names) return;
  list.dataset.names = names;
  const options = cards.map((card) => new Option(card.name, card.name));
  list.replaceChildren(...options, new Option('a card with this track 2:', ''));
  showTrack();
}

function showTrack() {
  byId('track-label').hidden = byId('cards').value !== '';
}
byId('cards').addEventListener('change', showTrack);

byId('swipe').addEventListener('submit', (event) => {
  event.preventDefault();
  const card = state && state.cards.find((known) => known.name === byId('cards').value);
  const tracks = card ? { track1: card.track1, track2: card.track2, track3: card.track3 }
                      : { track2: byId('track2').value };
  send({ do: 'swipe', ...tracks });
});

// ---- The wire ----

const mostRows = 250;
const mostKept = 2000;
let kept = [];
let waiting = [];
let drawing = false;
let counted = 0;

function takeFrames(message) {
  const fresh = message.frames.filter((frame) => frame.n > lastFrame);
  if (fresh.length === 0) return;
  // What a page missed before it was opened did not cross the wire just now.
  counted += fresh.length + (lastFrame === 0 ? 0 : message.skipped);
  lastFrame = fresh[fresh.length - 1].n;
  kept = kept.concat(fresh).slice(-mostKept);
  if (byId('pause').getAttribute('aria-pressed') === 'true') return;
  waiting = waiting.concat(fresh.filter(passes)).slice(-mostRows);
  planDrawing();
}

function planDrawing() {
  if (drawing) return;
  drawing = true;
  requestAnimationFrame(() => {
    drawing = false;
    const list = byId('frames');
    const atEnd = list.scrollHeight - list.scrollTop - list.clientHeight < 40;
    list.append(...waiting.map(drawFrame));
    waiting = [];
    while (list.childElementCount > mostRows) list.firstElementChild.remove();
    if (atEnd) list.scrollTop = list.scrollHeight;
  });
}

const controls = new Set(['ACK', 'NAK', 'CAN', 'EOT']);

function passes(frame) {
  if (!byId('controls').checked && controls.has(frame.kind)) return false;
  const words = byId('filter').value.trim().toLowerCase().split(/\s+/);
  const all = [frame.from, frame.framing, frame.kind, frame.id, frame.meaning, frame.status,
    frame.text, frame.encrypted ? 'encrypted' : ''].join(' ').toLowerCase();
  return words.every((word) => all.includes(word));
}

function drawFrame(frame) {
  const item = make('li');
  const details = make('details');
  const summary = make('summary');
  summary.tabIndex = -1;
  const bad = frame.kind === 'NAK' || frame.kind === 'bad command' || frame.kind === 'noise';
  summary.append(make('span', 'time', (frame.t / 1000).toFixed(3)),
    make('span', frame.from, frame.from === 'host' ? 'host →' : '← device'),
    make('span', bad ? 'bad' : '', frame.kind));
  const what = make('span', 'what');
  if (frame.encrypted) what.append(make('span', 'lock', 'encrypted'), ' ');
  if (frame.framing === 'extension') what.append(make('span', 'lock', 'extension'), ' ');
  if (frame.id) what.append(make('strong', '', frame.id), ' ');
  if (frame.status) what.append(make('span', frame.status === '000' ? '' : 'bad', frame.status), ' ');
  if (frame.meaning) what.append(make('em', '', frame.meaning), ' ');
  what.append(frame.id ? frame.text.slice(frame.id.length + frame.status.length) : frame.text || frame.raw);
  summary.append(what);
  details.append(summary);
  details.addEventListener('toggle', () => fillFrame(details, frame), { once: true });
  item.append(details);
  return item;
}

function fillFrame(details, frame) {
  const list = make('dl');
  const add = (name, value) => list.append(make('dt', '', name), make('dd', '', value));
  if (frame.text) add('body', frame.text);
  for (const [id, value] of frame.params) add(`param ${id}`, value);
  add('bytes', frame.raw.replace(/../g, '$& '));
  details.append(list);
}

function wipeFrames() {
  kept = [];
  waiting = [];
  byId('frames').replaceChildren();
}

function redrawFrames() {
  byId('frames').replaceChildren();
  waiting = kept.filter(passes).slice(-mostRows);
  planDrawing();
}

// The list is one stop of the Tab key; the arrows go from frame to frame in it.
byId('frames').addEventListener('keydown', (event) => {
  if (event.key !== 'ArrowUp' && event.key !== 'ArrowDown') return;
  const down = event.key === 'ArrowDown';
  const item = document.activeElement.closest('.frames li');
  const list = byId('frames');
  const next = item ? (down ? item.nextElementSibling : item.previousElementSibling)
                    : list.lastElementChild;
  event.preventDefault();
  event.stopPropagation();
  if (next) next.querySelector('summary').focus();
});

byId('filter').addEventListener('input', redrawFrames);
byId('controls').addEventListener('change', redrawFrames);
byId('wipe').addEventListener('click', wipeFrames);
byId('pause').addEventListener('click', () => {
  const paused = byId('pause').getAttribute('aria-pressed') !== 'true';
  byId('pause').setAttribute('aria-pressed', String(paused));
  if (!paused) redrawFrames();
});
setInterval(() => {
  setText(byId('rate'), counted ? `${counted} frames/s` : '');
  counted = 0;
}, 1000);

// ---- Faults ----

const faults = [
  { name: 'NAK', stage: 'ack', action: 'nak' },
  { name: 'No ACK', stage: 'ack', action: 'silent' },
  { name: 'Bad CRC', stage: 'response', action: 'bad-crc' },
  { name: 'Cut at byte', stage: 'response', action: 'cut', value: 4, most: 2000 },
  { name: 'Delay (ms)', stage: 'response', action: 'delay', value: 1500, most: 600000 },
  { name: 'Silence', stage: 'response', action: 'silent' },
  { name: 'Unplug at byte', stage: 'response', action: 'unplug', value: 4, most: 2000 },
  { name: 'Status', stage: 'reply', action: 'status', value: '013', digits: 3 },
];

function ruleOf(fault, how) {
  const target = byId('target').value;
  const value = fault.input ? fault.input.value.trim() : '';
  if (fault.stage === 'reply')
    return `reply ${target || 'any'} nth 1 ${how} skip status ${value.padStart(3, '0')}`;
  return ['fault', fault.stage, target, how, fault.action, value].filter(Boolean).join(' ');
}

function isRuleOf(fault, rule) {
  const words = rule.split(' ');
  return words[0] === (fault.stage === 'reply' ? 'reply' : 'fault') &&
    (fault.stage === 'reply' || (words[1] === fault.stage && words.includes(fault.action)));
}

function armedOf(fault) {
  return state ? state.armed.filter((rule) => isRuleOf(fault, rule)) : [];
}

function arm(fault, how) {
  for (const rule of armedOf(fault)) send({ do: 'disarm', rule });
  send({ do: 'arm', rule: ruleOf(fault, how) });
}

for (const fault of faults) {
  const item = make('li');
  const name = make('label', 'name', fault.name);
  item.append(name);
  if (fault.value !== undefined) {
    fault.input = make('input');
    fault.input.value = fault.value;
    fault.input.inputMode = 'numeric';
    fault.input.pattern = '[0-9]+';
    if (fault.digits) fault.input.maxLength = fault.digits;
    fault.input.setAttribute('aria-label', `${fault.name}: value`);
    item.append(fault.input);
  }
  fault.once = make('button', '', 'Once');
  fault.always = make('button', '', 'Always');
  for (const [button, how] of [[fault.once, 'times 1'], [fault.always, 'always']]) {
    button.type = 'button';
    button.setAttribute('aria-label', `${fault.name}, ${button.textContent.toLowerCase()}`);
    button.setAttribute('aria-pressed', 'false');
    button.addEventListener('click', () => {
      if (button.getAttribute('aria-pressed') === 'true')
        armedOf(fault).forEach((rule) => send({ do: 'disarm', rule }));
      else arm(fault, how);
    });
    item.append(button);
  }
  fault.item = item;
  byId('switches').append(item);
}

function showArmed() {
  for (const fault of faults) {
    const rules = armedOf(fault);
    const always = rules.some((rule) => rule.includes('always'));
    fault.item.classList.toggle('armed', rules.length > 0);
    fault.once.setAttribute('aria-pressed', String(rules.length > 0 && !always));
    fault.always.setAttribute('aria-pressed', String(always));
  }
}

byId('calm').addEventListener('click', () => send({ do: 'disarm-all' }));

// ---- Sessions ----

function notice(text) {
  setText(byId('notice'), text);
}

function showRecording(scenario) {
  byId('scenario').value = scenario;
  const link = make('a');
  link.href = URL.createObjectURL(new Blob([scenario], { type: 'text/plain' }));
  link.download = 'session.scn';
  link.click();
  setTimeout(() => URL.revokeObjectURL(link.href), 1000);
  notice('Saved as session.scn.');
}

byId('save').addEventListener('click', () => send({ do: 'save' }));
byId('replay').addEventListener('click', () => {
  notice('Plugging in a fresh device…');
  send({ do: 'replay', scenario: byId('scenario').value });
});
byId('open').addEventListener('change', async () => {
  const file = byId('open').files[0];
  if (file) byId('scenario').value = await file.text();
});

connect();
