// Plays the graphics of a CD+G track on a canvas, in step with the page's sound, or with a clock where there is none.
// The packs come in as text (see ScreenScript.h): pages opened from a disk may load scripts, but may not fetch files.
'use strict';

const WIDTH = 300, HEIGHT = 216, LEFT = 6, TOP = 12, SEEN_WIDTH = 288, SEEN_HEIGHT = 192;
const TILE_WIDTH = 6, TILE_HEIGHT = 12, PACKS_PER_SECOND = 300, PACK_CHARACTERS = 17;

// The screen of a player: palette indices, top row first. The rules are those of the library's emulator.
class Screen {
  constructor() { this.clear(); }

  clear() {
    this.pixels = new Uint8Array(WIDTH * HEIGHT);
    this.palette = new Uint32Array(16).fill(0xff000000); // as canvas pixels: alpha, blue, green, red
    this.background = this.dx = this.dy = 0;
  }

  copy() {
    const other = Object.create(Screen.prototype);
    return Object.assign(other, this, {pixels: this.pixels.slice(), palette: this.palette.slice()});
  }

  // `data` holds six bits an entry; the instruction stands at `at`, its sixteen operands behind it.
  play(data, at) {
    const d = data.subarray(at + 1, at + PACK_CHARACTERS);
    switch (data[at]) {
    case 1: this.preset(d); break;
    case 6: this.tile(d, false); break;
    case 38: this.tile(d, true); break;
    case 20: this.scroll(d, d[0] & 15); break;
    case 24: this.scroll(d, -1); break;
    case 30: this.colours(d, 0); break;
    case 31: this.colours(d, 8); break;
    }
  }

  preset(d) {
    this.background = d[0] & 15;
    if (d[1] & 15) return; // a repetition
    this.pixels.fill(this.background);
    this.dx = this.dy = 0;
  }

  tile(d, exclusive) {
    if ((d[0] >> 2 & 12 | d[1] >> 4 & 3) > 1) return; // another channel
    const first = d[0] & 15, second = d[1] & 15;
    let at = Math.min(d[2] & 31, 17) * TILE_HEIGHT * WIDTH + Math.min(d[3], 49) * TILE_WIDTH;
    for (let y = 0; y < TILE_HEIGHT; ++y, at += WIDTH)
      for (let x = 0; x < TILE_WIDTH; ++x) {
        const colour = d[4 + y] >> 5 - x & 1 ? second : first;
        this.pixels[at + x] = exclusive ? this.pixels[at + x] ^ colour : colour;
      }
  }

  // A fill below 0 stands for what leaves the screen on the other side.
  scroll(d, fill) {
    const source = (byte, tile) => [0, -tile, tile, tile][byte >> 4 & 3];
    const dx = source(d[1], TILE_WIDTH), dy = source(d[2], TILE_HEIGHT), old = this.pixels.slice();
    this.dx = Math.min(d[1] & 15, 5);
    this.dy = Math.min(d[2] & 15, 11);
    if (!dx && !dy) return;
    for (let y = 0; y < HEIGHT; ++y)
      for (let x = 0; x < WIDTH; ++x) {
        const fromX = x + dx, fromY = y + dy;
        const inside = fromX >= 0 && fromX < WIDTH && fromY >= 0 && fromY < HEIGHT;
        this.pixels[y * WIDTH + x] = !inside && fill >= 0 ? fill
          : old[(fromY + HEIGHT) % HEIGHT * WIDTH + (fromX + WIDTH) % WIDTH];
      }
  }

  colours(d, first) {
    for (let i = 0; i < 8; ++i) {
      const high = d[2 * i], low = d[2 * i + 1];
      const red = (high & 60) << 2, green = (high & 3) << 6 | low & 48, blue = (low & 15) << 4;
      this.palette[first + i] = (255 << 24 | blue << 16 | green << 8 | red) >>> 0;
    }
  }

  draw(context) {
    const image = context.createImageData(WIDTH, HEIGHT), out = new Uint32Array(image.data.buffer);
    out.fill(this.palette[this.background]); // the margin
    for (let y = 0; y < SEEN_HEIGHT; ++y) {
      let from = (TOP + y + this.dy) * WIDTH + LEFT + this.dx, to = (TOP + y) * WIDTH + LEFT;
      for (let x = 0; x < SEEN_WIDTH; ++x) out[to++] = this.palette[this.pixels[from++]];
    }
    context.putImageData(image, 0, 0);
  }
}

// The packs that are no padding, and the screen at any time.
class Graphics {
  constructor({packs, data}) {
    this.packs = packs;
    const digits = 'ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/';
    const values = new Uint8Array(128);
    for (let i = 0; i < 64; ++i) values[digits.charCodeAt(i)] = i;
    this.data = new Uint8Array(data.length);
    for (let i = 0; i < data.length; ++i) this.data[i] = values[data.charCodeAt(i) & 127];
    this.keepEvery = Math.max(10 * PACKS_PER_SECOND, Math.ceil(packs / 100));
    this.rewind();
    this.kept = [this.mark()];
  }

  rewind() { this.screen = new Screen(); this.pack = -1; this.at = 0; this.readGap(); }
  mark() { return {screen: this.screen.copy(), pack: this.pack, at: this.at}; }

  // How far the next pack is from the one before: five bits a digit, lowest first, 32 when more follow.
  readGap() {
    let gap = 0, scale = 1, digit;
    if (this.at >= this.data.length) { this.pack = Infinity; return; }
    do { digit = this.data[this.at++]; gap += (digit & 31) * scale; scale *= 32; } while (digit & 32);
    this.pack += gap;
  }

  // Plays all packs before a time in seconds.
  seek(seconds) {
    const target = Math.min(Math.max(Math.trunc(seconds * PACKS_PER_SECOND), 0), this.packs);
    if (this.played === target) return false;
    let mark = this.kept[0];
    for (const each of this.kept) if (each.pack <= target) mark = each;
    if (target < this.played || mark.pack > this.pack) {
      Object.assign(this, {screen: mark.screen.copy(), pack: mark.pack, at: mark.at});
    }
    while (this.pack < target) {
      const last = this.kept[this.kept.length - 1];
      if (this.pack >= last.pack + this.keepEvery) this.kept.push(this.mark());
      this.screen.play(this.data, this.at);
      this.at += PACK_CHARACTERS;
      this.readGap();
    }
    this.played = target;
    return true;
  }
}

// What goes on without a sound: the same few members that an audio element has.
class Clock extends EventTarget {
  constructor(duration) { super(); Object.assign(this, {duration, paused: true, from: 0, since: 0}); }
  get currentTime() {
    return this.paused ? this.from : Math.min(this.from + (performance.now() - this.since) / 1000, this.duration);
  }
  set currentTime(seconds) { this.from = seconds; this.since = performance.now(); this.tell('seeked'); }
  play() { this.since = performance.now(); this.paused = false; this.tell('play'); }
  pause() { this.from = this.currentTime; this.paused = true; this.tell('pause'); }
  tell(what) { this.dispatchEvent(new Event(what)); }
}

function timeText(seconds) {
  return Math.floor(seconds / 60) + ':' + String(Math.floor(seconds % 60)).padStart(2, '0');
}

// A button and a slider for a clock, since nothing else moves it.
function addControls(clock, place) {
  const button = document.createElement('button'), slider = document.createElement('input');
  const label = document.createElement('span');
  Object.assign(slider, {type: 'range', min: 0, max: clock.duration, step: 0.1, value: 0});
  slider.setAttribute('aria-label', 'Position');
  button.onclick = () => clock.paused ? clock.play() : clock.pause();
  slider.oninput = () => { clock.currentTime = Number(slider.value); };
  place.append(button, slider, label);
  return () => {
    button.textContent = clock.paused ? 'Play' : 'Pause';
    slider.value = clock.currentTime;
    label.textContent = timeText(clock.currentTime) + ' / ' + timeText(clock.duration);
  };
}

function start(graphicsData) {
  const canvas = document.querySelector('canvas'), strip = document.querySelector('svg.bar');
  const head = document.querySelector('svg .head');
  const length = strip ? Number(strip.dataset.seconds) : 0;
  const sound = document.querySelector('audio');
  if (!sound && !canvas) return;
  const clock = sound || new Clock(length);
  const showControls = sound ? () => {} : addControls(clock, document.querySelector('.clock'));
  const graphics = canvas && graphicsData ? new Graphics(graphicsData) : null;
  const context = canvas && canvas.getContext('2d');

  const show = () => {
    const seconds = clock.currentTime;
    if (graphics && graphics.seek(seconds)) graphics.screen.draw(context);
    if (head && length) head.setAttribute('x', Math.min(seconds / length, 1) * 1000 - 1);
    if (!sound && seconds >= clock.duration && !clock.paused) clock.pause();
    showControls();
  };
  const follow = () => { show(); if (!clock.paused) requestAnimationFrame(follow); };
  clock.addEventListener('play', () => requestAnimationFrame(follow));
  for (const event of ['pause', 'seeked', 'timeupdate', 'loadedmetadata']) clock.addEventListener(event, show);
  const go = seconds => { clock.currentTime = seconds; };
  for (const button of document.querySelectorAll('button[data-from]'))
    button.onclick = () => { go(Number(button.dataset.from)); clock.play(); };
  if (strip) strip.addEventListener('click', event => {
    if (event.target.closest('a')) return; // a page's mark leads to the page
    const place = strip.getBoundingClientRect();
    go((event.clientX - place.left) / place.width * length);
  });
  if (canvas) {
    canvas.onclick = () => clock.paused ? clock.play() : clock.pause();
    canvas.ondblclick = () => document.fullscreenElement ? document.exitFullscreen() : canvas.requestFullscreen();
  }
  show();
}

start(typeof screenPacks === 'undefined' ? null : screenPacks);
