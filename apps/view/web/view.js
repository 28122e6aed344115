// The viewer's page. It holds the shown frame's temperatures (float32, as
// the server's /api/frame/N gives them) and gray values, so the readout,
// the colours, the statistics of what is drawn and the histograms need no
// request; the plot over time comes from the server's /api/series.
'use strict';

const $ = (id) => document.getElementById(id);
const token = new URLSearchParams(location.search).get('token') || '';

const state = {
  info: null,
  palettes: {},
  index: -1, // frame shown
  temps: null, // Float32Array
  gray: null, // Uint16Array
  // {kind, name, x, y, w, h}, lines {kind, name, x0, y0, x1, y1}, polygons
  // {kind, name, points: [[x, y], ...]} (pixel centres); each but a spot
  // with its pixels (frame indices) from the server once they arrive.
  shapes: [],
  polygon: null, // the corners of the polygon being drawn
  selected: -1,
  playing: false,
  followLive: true,
  drag: null,
  series: null, // what /api/series gave for the current shapes
  seriesKey: null,
  loading: null,
  counters: {spot: 0, roi: 0, ellipse: 0, line: 0, polygon: 0},
};

// What the browser test reads back.
// firstFrameMs counts from the start of the page's navigation.
window.kalviroView = {firstFrameMs: null, framesShown: 0, playStart: 0, playFrames: 0, fps: null};

function api(path) {
  const sep = path.includes('?') ? '&' : '?';
  return path + sep + 'token=' + encodeURIComponent(token);
}

async function getJson(path) {
  const r = await fetch(api(path));
  if (!r.ok) throw new Error(path + ': ' + r.status + ' ' + (await r.text()));
  return r.json();
}

async function getBytes(path) {
  const r = await fetch(api(path));
  if (!r.ok) throw new Error(path + ': ' + r.status);
  return r.arrayBuffer();
}

// The library's failure value and anything larger in magnitude (and NaN) is
// no temperature: the command's rule, so colours and statistics agree.
const kFailureMagnitude = 21474836;
const validTemp = (t) => Math.abs(t) < kFailureMagnitude;

// As the command prints temperatures: two decimals, ties to even on the
// exact binary value (printf's rounding; toFixed rounds those ties up).
function fmt2(x) {
  if (x === null || !validTemp(x)) return 'invalid';
  const eighths = x * 8;
  if (Number.isInteger(eighths) && eighths % 2 !== 0) {
    const h = x * 100; // exact: a multiple of 12.5
    let r = Math.floor(h);
    if (r % 2 !== 0) r += 1;
    const s = Math.abs(r);
    return (r < 0 ? '-' : '') + Math.floor(s / 100) + '.' + String(s % 100).padStart(2, '0');
  }
  return x.toFixed(2);
}

// ---- statistics, in the order and precision of the command's ----

// The mean, then the population standard deviation from the deviations
// about it, as the command computes them: the same doubles in the same order.
function finish(count, invalid, sum, deviations, extra) {
  if (count === 0) return {count, invalid};
  const mean = sum / count;
  return {count, invalid, mean, std: Math.sqrt(deviations(mean) / count), ...extra};
}

// A rectangle: four running sums chosen by the pixel's place in its row
// modulo 4, as `kalviro convert --roi` adds them.
function rectStats(temps, width, r) {
  let lo = Infinity, hi = -Infinity, invalid = 0;
  const each = (visit) => {
    for (let y = r.y; y < r.y + r.h; y++) {
      for (let x = r.x; x < r.x + r.w; x++) visit(x, y, temps[y * width + x], (x - r.x) & 3);
    }
  };
  const sum = [0, 0, 0, 0];
  let coldest = null, hottest = null;
  each((x, y, t, k) => {
    if (!validTemp(t)) { invalid++; return; }
    if (t < lo) { lo = t; coldest = [x, y]; }
    if (t > hi) { hi = t; hottest = [x, y]; }
    sum[k] += t;
  });
  const deviations = (mean) => {
    const sq = [0, 0, 0, 0];
    each((x, y, t, k) => { if (validTemp(t)) sq[k] += (t - mean) * (t - mean); });
    return (sq[0] + sq[1]) + (sq[2] + sq[3]);
  };
  return finish(r.w * r.h - invalid, invalid, (sum[0] + sum[1]) + (sum[2] + sum[3]), deviations,
    {min: lo, max: hi, coldest, hottest});
}

// Any other shape, over its pixels in the server's order.
function listStats(temps, pixels) {
  let lo = Infinity, hi = -Infinity, invalid = 0, sum = 0;
  for (const i of pixels) {
    const t = temps[i];
    if (!validTemp(t)) { invalid++; continue; }
    if (t < lo) lo = t;
    if (t > hi) hi = t;
    sum += t;
  }
  const deviations = (mean) => {
    let sq = 0;
    for (const i of pixels) { const t = temps[i]; if (validTemp(t)) sq += (t - mean) * (t - mean); }
    return sq;
  };
  return finish(pixels.length - invalid, invalid, sum, deviations, {min: lo, max: hi});
}

// Null while its pixels are on their way.
function shapeStats(s) {
  const w = state.info.width;
  if (s.kind === 'spot') {
    const t = state.temps[s.y * w + s.x];
    return {count: 1, min: t, max: t, mean: t, std: 0};
  }
  if (s.kind === 'roi') return rectStats(state.temps, w, s);
  return s.pixels ? listStats(state.temps, s.pixels) : null;
}

function shapeText(s) {
  if (s.kind === 'spot') return `${s.x},${s.y}`;
  if (s.kind === 'line') return `${s.name}=${s.x0},${s.y0},${s.x1},${s.y1}`;
  return `${s.name}=${s.x},${s.y},${s.w},${s.h}`;
}

// As `kalviro convert` takes it: an ellipse by its centre and radii, a
// polygon by its corners in the image plane (a pixel's centre at +0.5).
function commandText(s) {
  if (s.kind === 'ellipse') return `${s.name}=${s.x + s.w / 2},${s.y + s.h / 2},${s.w / 2},${s.h / 2}`;
  if (s.kind === 'polygon') return `${s.name}=` + s.points.map(([x, y]) => `${x + 0.5},${y + 0.5}`).join(',');
  return shapeText(s);
}

// ---- colours ----

function colourRange(temps) {
  const text = $('range').value.trim() || 'auto';
  let lo = 0, hi = 1;
  const finite = () => {
    const v = [];
    for (const t of temps) if (validTemp(t)) v.push(t);
    return v;
  };
  const m = /^auto:([0-9.]+):([0-9.]+)$/.exec(text);
  const fixed = /^(-?[0-9.eE+-]+):(-?[0-9.eE+-]+)$/.exec(text);
  if (m) {
    // Percentiles of the frame's valid pixels, nearest rank.
    const v = Float32Array.from(finite()).sort();
    if (v.length) {
      const at = (p) => v[Math.min(v.length - 1, Math.max(0, Math.ceil((p / 100) * v.length) - 1))];
      lo = at(Number(m[1]));
      hi = at(Number(m[2]));
    }
  } else if (fixed && text !== 'auto') {
    lo = Math.fround(Number(fixed[1]));
    hi = Math.fround(Number(fixed[2]));
  } else {
    [lo, hi] = extremes(temps);
    if (lo === Infinity) { lo = 0; hi = 1; }
  }
  if (!(hi > lo)) { lo = Math.fround(lo - 0.5); hi = Math.fround(hi + 0.5); }
  return [lo, hi];
}

function parseIsotherm() {
  const m = /^(-?[0-9.]+):(-?[0-9.]+)$/.exec($('isotherm').value.trim());
  if (!m) return null;
  const hex = $('isocolour').value;
  return {lo: Number(m[1]), hi: Number(m[2]),
    rgb: [parseInt(hex.slice(1, 3), 16), parseInt(hex.slice(3, 5), 16), parseInt(hex.slice(5, 7), 16)]};
}

let image = null;
function render() {
  const {width, height} = state.info;
  const canvas = $('frame');
  if (canvas.width !== width || canvas.height !== height) {
    canvas.width = width;
    canvas.height = height;
    image = null;
    fit();
  }
  const ctx = canvas.getContext('2d');
  if (!image) image = ctx.createImageData(width, height);
  const pal = state.palettes[$('palette').value] || Object.values(state.palettes)[0];
  const [lo, hi] = colourRange(state.temps);
  const span = Math.fround(hi - lo);
  const iso = parseIsotherm();
  // One 32-bit store a pixel, colours packed once a frame (RGBA in memory
  // order on a little-endian host, the only kind browsers run on).
  const rgba = (r, g, b) => ((255 << 24) | (b << 16) | (g << 8) | r) >>> 0;
  const lut = new Uint32Array(256);
  for (let c = 0; c < 256; c++) lut[c] = rgba(pal[3 * c], pal[3 * c + 1], pal[3 * c + 2]);
  const invalid = rgba(255, 0, 255); // magenta, as the command's PNG
  const isoColour = iso ? rgba(...iso.rgb) : 0;
  const px = new Uint32Array(image.data.buffer);
  const f = Math.fround;
  const temps = state.temps;
  for (let i = 0; i < temps.length; i++) {
    const t = temps[i];
    if (!validTemp(t)) {
      px[i] = invalid;
    } else if (iso && t >= iso.lo && t <= iso.hi) {
      px[i] = isoColour;
    } else {
      // The command's rounding: in single precision, nearest colour.
      const k = Math.min(255, Math.max(0, f(f(f(t - lo) / span) * 255)));
      px[i] = lut[Math.round(k)];
    }
  }
  ctx.putImageData(image, 0, 0);
  $('colour-range').textContent = `colours ${fmt2(lo)} to ${fmt2(hi)} °C`;
  drawOverlay();
  updateStats();
  drawHistogram();
  drawProfile();
  drawTimePlot();
}

// The frame as large as the window allows, in whole screen pixels per
// frame pixel where it fits.
function fit() {
  if (!state.info) return;
  const {width, height} = state.info;
  const room = $('picture').clientWidth;
  const roomH = Math.max(200, window.innerHeight - 140);
  let scale = Math.min(room / width, roomH / height);
  if (scale >= 1) scale = Math.floor(scale);
  const cw = Math.max(1, Math.floor(width * scale)), ch = Math.max(1, Math.floor(height * scale));
  const canvas = $('frame'), over = $('overlay');
  canvas.style.width = cw + 'px';
  canvas.style.height = ch + 'px';
  const dpr = window.devicePixelRatio || 1;
  over.width = Math.round(cw * dpr);
  over.height = Math.round(ch * dpr);
  over.style.width = cw + 'px';
  over.style.height = ch + 'px';
  if (state.temps) drawOverlay();
}

const shapeColours = ['#ffffff', '#00e5ff', '#ffd400', '#7cff4f', '#ff5fd2', '#ff8c1a', '#9f8cff', '#ff4040'];
function colourOf(i) { return shapeColours[i % shapeColours.length]; }

function drawShape(ctx, s, k, colour, selected) {
  ctx.strokeStyle = colour;
  ctx.fillStyle = colour;
  ctx.lineWidth = selected ? 3 : 1.5;
  ctx.beginPath();
  if (s.kind === 'spot') {
    const cx = (s.x + 0.5) * k, cy = (s.y + 0.5) * k, a = Math.max(5, k);
    ctx.moveTo(cx - a, cy); ctx.lineTo(cx + a, cy); ctx.moveTo(cx, cy - a); ctx.lineTo(cx, cy + a);
  } else if (s.kind === 'roi') {
    ctx.rect(s.x * k, s.y * k, s.w * k, s.h * k);
  } else if (s.kind === 'ellipse') {
    ctx.ellipse((s.x + s.w / 2) * k, (s.y + s.h / 2) * k, (s.w / 2) * k, (s.h / 2) * k, 0, 0, 2 * Math.PI);
  } else if (s.kind === 'polygon') {
    s.points.forEach(([x, y], i) => (i ? ctx.lineTo : ctx.moveTo).call(ctx, (x + 0.5) * k, (y + 0.5) * k));
    if (s.closed) ctx.closePath();
  } else {
    ctx.moveTo((s.x0 + 0.5) * k, (s.y0 + 0.5) * k); ctx.lineTo((s.x1 + 0.5) * k, (s.y1 + 0.5) * k);
  }
  ctx.stroke();
  if (s.name) {
    const [lx, ly] = s.kind === 'line' ? [s.x0, s.y0] : s.kind === 'polygon' ? s.points[0] : [s.x, s.y];
    ctx.font = '12px sans-serif';
    ctx.fillText(s.name, lx * k + 3, ly * k - 3 < 10 ? ly * k + 14 : ly * k - 3);
  }
}

function drawOverlay() {
  const over = $('overlay');
  const ctx = over.getContext('2d');
  ctx.clearRect(0, 0, over.width, over.height);
  if (!state.info) return;
  const k = over.width / state.info.width;
  state.shapes.forEach((s, i) => drawShape(ctx, s, k, colourOf(i), i === state.selected));
  if (state.drag && state.drag.shape) drawShape(ctx, state.drag.shape, k, '#ffffff', true);
  if (state.polygon) {
    const p = state.polygon;
    drawShape(ctx, {kind: 'polygon', points: p.hover ? [...p.points, p.hover] : p.points}, k, '#ffffff', true);
  }
}

// ---- the readout and drawing ----

function pixelAt(ev) {
  const over = $('overlay');
  const rect = over.getBoundingClientRect();
  const x = Math.floor(((ev.clientX - rect.left) / rect.width) * state.info.width);
  const y = Math.floor(((ev.clientY - rect.top) / rect.height) * state.info.height);
  if (x < 0 || y < 0 || x >= state.info.width || y >= state.info.height) return null;
  return [x, y];
}

function showReadout(p) {
  if (!p || !state.temps) return;
  const [x, y] = p;
  const i = y * state.info.width + x;
  const t = state.temps[i];
  $('readout').textContent = `${validTemp(t) ? fmt2(t) + ' °C' : 'invalid'} at (${x}, ${y}), gray ${state.gray[i]}`;
  $('readout').dataset.x = x;
  $('readout').dataset.y = y;
}

function shapeFromDrag(a, b, tool) {
  if (tool === 'line') return {kind: 'line', x0: a[0], y0: a[1], x1: b[0], y1: b[1]};
  const x = Math.min(a[0], b[0]), y = Math.min(a[1], b[1]);
  return {kind: tool === 'ellipse' ? 'ellipse' : 'roi', x, y, w: Math.abs(a[0] - b[0]) + 1, h: Math.abs(a[1] - b[1]) + 1};
}

function addShape(s) {
  state.counters[s.kind] += 1;
  s.name = s.kind + state.counters[s.kind];
  state.shapes.push(s);
  state.selected = state.shapes.length - 1;
  if (s.kind !== 'spot') fetchPixels(s);
  shapesChanged();
}

// A shape's pixels as the command counts them, from the server: the page
// does not count them a second way.
async function fetchPixels(s) {
  try {
    s.pixels = new Uint32Array(await getBytes(`/api/pixels?${s.kind}=${encodeURIComponent(commandText(s))}`));
  } catch (e) {
    console.error(e);
    s.pixels = new Uint32Array(0);
  }
  if (!state.shapes.includes(s)) return;
  updateStats();
  drawHistogram();
  drawProfile();
}

// The polygon being drawn: a click adds a corner, a double click or Enter
// closes it (three corners at least), Escape drops it.
function polygonCorner(p) {
  const d = state.polygon || (state.polygon = {points: [], hover: null});
  const last = d.points[d.points.length - 1];
  if (!last || last[0] !== p[0] || last[1] !== p[1]) d.points.push(p);
  drawOverlay();
}

function endPolygon(close) {
  const d = state.polygon;
  state.polygon = null;
  if (close && d && d.points.length >= 3) addShape({kind: 'polygon', points: d.points, closed: true});
  else drawOverlay();
}

function shapesChanged() {
  drawOverlay();
  updateStats();
  drawHistogram();
  drawProfile();
  updateCommand();
  requestSeries(true);
}

function setupPointer() {
  const over = $('overlay');
  over.addEventListener('mousemove', (ev) => {
    const p = pixelAt(ev);
    showReadout(p);
    if (state.polygon && p) {
      state.polygon.hover = p;
      drawOverlay();
    }
    if (state.drag && p) {
      const a = state.drag.start;
      if (p[0] !== a[0] || p[1] !== a[1]) state.drag.shape = shapeFromDrag(a, p, $('tool').value);
      drawOverlay();
    }
  });
  over.addEventListener('mousedown', (ev) => {
    const p = pixelAt(ev);
    if (p && $('tool').value === 'polygon') polygonCorner(p);
    else if (p) state.drag = {start: p, shape: null};
    ev.preventDefault();
  });
  over.addEventListener('dblclick', (ev) => {
    if (state.polygon) endPolygon(true);
    ev.preventDefault();
  });
  $('tool').addEventListener('change', () => endPolygon(false));
  window.addEventListener('mouseup', () => {
    const d = state.drag;
    state.drag = null;
    if (!d) return;
    if (d.shape) addShape(d.shape);
    else addShape({kind: 'spot', x: d.start[0], y: d.start[1]});
  });
}

// ---- the side panel ----

function updateStats() {
  const body = $('stats').tBodies[0];
  body.textContent = '';
  if (!state.temps) return;
  state.shapes.forEach((s, i) => {
    const st = shapeStats(s) || {pending: true};
    const tr = document.createElement('tr');
    tr.dataset.shape = s.name;
    if (!st.pending) tr.dataset.ready = '1';
    if (i === state.selected) tr.className = 'selected';
    const cells = s.kind === 'spot'
      ? [s.name + ' ' + shapeText(s), fmt2(st.min), '', '', '']
      : st.pending ? [s.name, '…', '…', '…', '…']
      : [s.name, fmt2(st.min), fmt2(st.max), fmt2(st.mean), fmt2(st.std)];
    cells.forEach((c, k) => {
      const td = document.createElement('td');
      td.textContent = c;
      if (k === 0) td.style.color = colourOf(i);
      td.className = ['name', 'min', 'max', 'mean', 'std'][k];
      tr.appendChild(td);
    });
    const del = document.createElement('td');
    const button = document.createElement('button');
    button.textContent = '×';
    button.title = 'remove';
    button.onclick = (ev) => {
      ev.stopPropagation();
      state.shapes.splice(i, 1);
      state.selected = Math.min(state.selected, state.shapes.length - 1);
      shapesChanged();
    };
    del.appendChild(button);
    tr.appendChild(del);
    tr.onclick = () => { state.selected = i; shapesChanged(); };
    body.appendChild(tr);
  });
}

function histogramOf(values, lo, hi, bins) {
  const h = new Int32Array(bins);
  const scale = bins / (hi - lo || 1);
  for (let i = 0; i < values.length; i++) {
    const t = values[i];
    if (!validTemp(t)) continue;
    h[Math.min(bins - 1, Math.max(0, Math.floor((t - lo) * scale)))]++;
  }
  return Array.from(h);
}

// The smallest and largest valid temperature; [Infinity, -Infinity] when none.
function extremes(temps) {
  let lo = Infinity, hi = -Infinity;
  for (let i = 0; i < temps.length; i++) {
    const t = temps[i];
    if (t < lo) lo = t;  // NaN compares false; failures are no temperatures
    if (t > hi) hi = t;
  }
  if (!validTemp(lo) || !validTemp(hi)) {
    lo = Infinity; hi = -Infinity;
    for (let i = 0; i < temps.length; i++) {
      const t = temps[i];
      if (validTemp(t)) { if (t < lo) lo = t; if (t > hi) hi = t; }
    }
  }
  return [lo, hi];
}

function drawHistogram() {
  const c = $('histogram'), ctx = c.getContext('2d');
  ctx.clearRect(0, 0, c.width, c.height);
  if (!state.temps) return;
  const [lo, hi] = extremes(state.temps);
  if (lo === Infinity) return;
  const bins = 90;
  const whole = histogramOf(state.temps, lo, hi, bins);
  const bar = (h, colour, top) => {
    const max = Math.max(...h) || 1;
    ctx.fillStyle = colour;
    h.forEach((n, i) => {
      const bh = (n / max) * (c.height - 18);
      ctx.fillRect((i * c.width) / bins, top - bh, c.width / bins - 0.5, bh);
    });
  };
  bar(whole, '#777', c.height - 14);
  const s = state.shapes[state.selected];
  if (s && s.pixels) {
    bar(histogramOf(Array.from(s.pixels, (i) => state.temps[i]), lo, hi, bins), 'rgba(255,150,30,0.85)', c.height - 14);
  }
  ctx.fillStyle = '#ccc';
  ctx.font = '11px sans-serif';
  ctx.fillText(fmt2(lo), 2, c.height - 2);
  const t = fmt2(hi);
  ctx.fillText(t, c.width - ctx.measureText(t).width - 2, c.height - 2);
}

function plotLines(c, lines, xs, marker) {
  const ctx = c.getContext('2d');
  ctx.clearRect(0, 0, c.width, c.height);
  let lo = Infinity, hi = -Infinity;
  for (const l of lines) for (const v of l.values) if (v !== null && validTemp(v)) { lo = Math.min(lo, v); hi = Math.max(hi, v); }
  if (lo === Infinity || xs.length === 0) return;
  if (hi === lo) { lo -= 0.5; hi += 0.5; }
  const x0 = xs[0], x1 = xs[xs.length - 1] === x0 ? x0 + 1 : xs[xs.length - 1];
  const left = 42, bottom = c.height - 12, top = 6;
  const X = (x) => left + ((x - x0) / (x1 - x0)) * (c.width - left - 4);
  const Y = (v) => bottom - ((v - lo) / (hi - lo)) * (bottom - top);
  ctx.font = '10px sans-serif';
  ctx.fillStyle = '#aaa';
  ctx.fillText(fmt2(hi), 2, top + 8);
  ctx.fillText(fmt2(lo), 2, bottom);
  ctx.fillText(String(xs[0]), left, c.height - 1);
  const last = String(xs[xs.length - 1]);
  ctx.fillText(last, c.width - ctx.measureText(last).width - 2, c.height - 1);
  if (marker !== undefined) {
    ctx.strokeStyle = '#666';
    ctx.beginPath(); ctx.moveTo(X(marker), top); ctx.lineTo(X(marker), bottom); ctx.stroke();
  }
  for (const l of lines) {
    ctx.strokeStyle = l.colour;
    ctx.lineWidth = 1.5;
    ctx.beginPath();
    let pen = false;
    l.values.forEach((v, i) => {
      if (v === null || !validTemp(v)) { pen = false; return; }
      if (pen) ctx.lineTo(X(xs[i]), Y(v)); else ctx.moveTo(X(xs[i]), Y(v));
      pen = true;
    });
    if (l.values.length === 1 && l.values[0] !== null) ctx.fillRect(X(xs[0]) - 1, Y(l.values[0]) - 1, 3, 3);
    ctx.stroke();
  }
}

function drawProfile() {
  const s = state.shapes[state.selected];
  const line = s && s.kind === 'line' ? s : state.shapes.find((q) => q.kind === 'line');
  if (!line || !line.pixels || !state.temps) { plotLines($('profile'), [], []); return; }
  const values = Array.from(line.pixels, (i) => state.temps[i]);
  plotLines($('profile'), [{colour: colourOf(state.shapes.indexOf(line)), values}], values.map((_, i) => i));
}

function drawTimePlot() {
  const sr = state.series;
  if (!sr || state.shapes.length === 0) { plotLines($('timeplot'), [], []); return; }
  // The server lists spots, then rectangles, ellipses, lines and polygons: match by name.
  const lines = sr.shapes.map((q) => ({colour: colourOf(state.shapes.findIndex((s) => s.name === q.name)),
    values: q.shape === 'spot' ? q.t : q.mean}));
  plotLines($('timeplot'), lines, sr.frames, state.index);
}

// The upTime of the frame shown, from the series when it holds the frame.
function showUpTime() {
  const sr = state.series;
  if (!sr || sr.frames.length === 0) return false;
  const k = state.index - sr.frames[0];
  if (sr.frames[k] !== state.index) return false;
  $('uptime').textContent = sr.upTime[k];
  return true;
}

function seriesQuery() {
  // Named as on the page (the command's text leaves spots unnamed).
  const text = (s) => (s.kind === 'spot' ? `${s.name}=${s.x},${s.y}` : commandText(s));
  return state.shapes.map((s) => `${s.kind}=${encodeURIComponent(text(s))}`).join('&');
}

let seriesBusy = false, seriesAgain = false;
// The plot over time: the whole sequence when the shapes change, then only
// the frames that arrived since.
async function requestSeries(reset) {
  // Without shapes the series still gives every frame's upTime, cheaply.
  if (reset) {
    if (state.series) state.series.shapes = [];
    state.seriesKey = null;
    drawTimePlot();
  }
  if (seriesBusy) { seriesAgain = true; return; }
  seriesBusy = true;
  try {
    const key = seriesQuery();
    const from = state.series && state.seriesKey === key ? state.series.end : state.info.first;
    if (!(state.series && state.seriesKey === key && from >= state.info.frames)) {
      const part = await getJson(`/api/series?${key}&from=${from}&to=${state.info.frames}`);
      if (key === seriesQuery()) {
        if (state.series && state.seriesKey === key) {
          state.series.end = part.end;
          for (const n of part.frames) state.series.frames.push(n);
          for (const u of part.upTime) state.series.upTime.push(u);
          part.shapes.forEach((q, i) => {
            for (const f of ['t', 'min', 'max', 'mean', 'std']) if (q[f]) for (const v of q[f]) state.series.shapes[i][f].push(v);
          });
        } else {
          state.series = part;
          state.seriesKey = key;
        }
        drawTimePlot();
        showUpTime();
      }
    }
  } catch (e) {
    console.error(e);
  } finally {
    seriesBusy = false;
    if (seriesAgain) { seriesAgain = false; requestSeries(false); }
  }
}

function updateCommand() {
  const i = state.info;
  if (!i) return;
  const q = (t) => (/^[A-Za-z0-9_./,:=+-]+$/.test(t) ? t : `'${t.replace(/'/g, `'\\''`)}'`);
  const base = `kalviro convert ${q(i.source)} --caltype ${i.calType} --size ${i.width}x${i.height} -e ${i.emissivity}` +
    (i.distance !== null ? ` -d ${i.distance}` : '');
  const opts = state.shapes.map((s) => ` --${s.kind} ${q(commandText(s))}`).join('');
  $('command').value = `${base} --frames ${state.index}${opts} -o frame_${state.index}.json\n` +
    `${base}${opts} --table series.csv`;
}

// One block request at a time, at most four a second while frames change
// fast (playing, live): the table costs more than a frame to draw. The last
// frame's block always follows.
let blockBusy = false, blockAt = 0, blockTimer = null;
function showBlock(n) {
  const wait = blockAt + 250 - performance.now();
  if (blockBusy || blockTimer !== null) return;
  if (wait > 0) {
    blockTimer = setTimeout(() => { blockTimer = null; showBlock(state.index); }, wait);
    return;
  }
  loadBlock(n);
}

async function loadBlock(n) {
  blockBusy = true;
  blockAt = performance.now();
  try {
    const b = await getJson(`/api/frame/${n}/block`);
    if (n !== state.index) return;
    if (!showUpTime()) $('uptime').textContent = b.upTime;
    $('getit').textContent = `per-frame call: gray ${b.centreGray} → ${fmt2(b.perFrame)} °C` +
      (b.getIT !== null ? `; GetIT value ${b.getIT}` : '');
    const body = $('fields').tBodies[0];
    // The rows stay while the layout does; only their text changes.
    if (body.rows.length !== b.fields.length) {
      body.textContent = '';
      for (let i = 0; i < b.fields.length; i++) {
        const tr = body.insertRow();
        for (let k = 0; k < 4; k++) tr.insertCell();
      }
    }
    b.fields.forEach((f, i) => {
      const tr = body.rows[i];
      tr.title = f.meaning;
      [f.offset, f.name, f.value, f.unit].forEach((v, k) => {
        if (tr.cells[k].textContent !== String(v)) tr.cells[k].textContent = v;
      });
    });
  } catch (e) {
    console.error(e);
  } finally {
    blockBusy = false;
    if (state.index !== n) showBlock(state.index);
  }
}

// ---- frames ----

async function fetchFrame(n) {
  const [t, g] = await Promise.all([getBytes(`/api/frame/${n}`), getBytes(`/api/frame/${n}/gray`)]);
  return {n, temps: new Float32Array(t), gray: new Uint16Array(g)};
}

// Shows frame n. Only the newest request waits; it is fetched while the
// frame before it is drawn.
let wanted = null;
async function showFrame(n) {
  const i = state.info;
  n = Math.max(i.first, Math.min(i.frames - 1, n));
  wanted = n;
  if (state.loading) return state.loading;
  const take = () => {
    const p = fetchFrame(wanted);
    wanted = null;
    return p;
  };
  state.loading = (async () => {
    let pending = take();
    while (pending) {
      let f = null;
      try {
        f = await pending;
      } catch (e) {
        console.error(e);
      }
      pending = wanted !== null ? take() : null;
      if (f) present(f);
    }
    state.loading = null;
  })();
  return state.loading;
}

// The URL names the frame shown, for sharing; at most four times a second,
// as changing it costs the browser more than drawing a frame.
let hashAt = 0, hashTimer = null;
function followHash() {
  if (hashTimer !== null) return;
  const wait = hashAt + 250 - performance.now();
  hashTimer = setTimeout(() => {
    hashTimer = null;
    hashAt = performance.now();
    if (location.hash !== `#frame=${state.index}`) history.replaceState(null, '', `#frame=${state.index}`);
  }, Math.max(0, wait));
}

function present(f) {
  state.index = f.n;
  state.temps = f.temps;
  state.gray = f.gray;
  render();
  window.kalviroView.framesShown++;
  if (window.kalviroView.firstFrameMs === null) window.kalviroView.firstFrameMs = performance.now();
  $('frame-number').textContent = f.n;
  $('scrubber').value = f.n;
  const ro = $('readout').dataset;
  if (ro.x !== undefined) showReadout([Number(ro.x), Number(ro.y)]);
  followHash();
  showUpTime();
  updateCommand();
  showBlock(f.n);
}

function setCount() {
  const i = state.info;
  $('scrubber').min = i.first;
  $('scrubber').max = Math.max(i.first, i.frames - 1);
  $('frame-count').textContent = i.frames;
}

// Playing: the next frame is fetched while this one is drawn, at most 30
// frames a second.
async function play() {
  state.playing = true;
  $('play').textContent = 'pause';
  const v = window.kalviroView;
  v.playStart = performance.now();
  v.playFrames = 0;
  let n = state.index;
  let next = fetchFrame(n + 1 < state.info.frames ? n + 1 : state.info.first);
  while (state.playing) {
    const started = performance.now();
    let f;
    try { f = await next; } catch (e) { break; }
    if (!state.playing) break;
    n = f.n;
    const after = n + 1 < state.info.frames ? n + 1 : state.info.first;
    next = fetchFrame(after);
    present(f);
    v.playFrames++;
    v.fps = (v.playFrames * 1000) / (performance.now() - v.playStart);
    const wait = 1000 / 30 - (performance.now() - started);
    if (wait > 0) await new Promise((r) => setTimeout(r, wait));
  }
  state.playing = false;
  $('play').textContent = 'play';
  showBlock(state.index);
}

function fromHash() {
  const m = /^#frame=(\d+)$/.exec(location.hash);
  return m ? Number(m[1]) : null;
}

// Live: a long poll says when frames arrive; the newest is shown unless
// the view is paused, and the plot over time grows.
async function follow() {
  // At most a few series requests a second, the last always after the last
  // frame: a timer rather than dropping updates that come too soon.
  let seriesTimer = null;
  const growSeries = () => {
    if (seriesTimer === null) seriesTimer = setTimeout(() => { seriesTimer = null; requestSeries(false); }, 300);
  };
  for (;;) {
    let i;
    try {
      i = await getJson(`/api/wait?after=${state.info.frames}`);
    } catch (e) {
      await new Promise((r) => setTimeout(r, 1000));
      continue;
    }
    const grew = i.frames !== state.info.frames;
    state.info = i;
    setCount();
    $('source').textContent = sourceText(i);
    if (grew && state.followLive && !state.playing && i.frames > 0) showFrame(i.frames - 1);
    if (grew) growSeries();
    if (i.complete && !grew) {
      growSeries();
      break;
    }
  }
}

function sourceText(i) {
  const what = i.live ? (i.complete ? 'stream ended' : 'live') : 'file';
  return `${i.source} (${what}), ${i.width}x${i.height}, CalType ${i.calType}, emissivity ${i.emissivity}` +
    (i.dropped ? `, oldest ${i.dropped} frames dropped (memory bound)` : '');
}

function exportPng() {
  const frame = $('frame'), over = $('overlay');
  const out = document.createElement('canvas');
  out.width = over.width;
  out.height = over.height;
  const ctx = out.getContext('2d');
  ctx.imageSmoothingEnabled = false;
  ctx.drawImage(frame, 0, 0, out.width, out.height);
  ctx.drawImage(over, 0, 0);
  out.toBlob((blob) => {
    const a = document.createElement('a');
    a.href = URL.createObjectURL(blob);
    a.download = `kalviro_frame_${state.index}.png`;
    a.click();
    setTimeout(() => URL.revokeObjectURL(a.href), 10000);
  }, 'image/png');
}

async function start() {
  const firstWanted = fromHash();
  const [info, palettes] = await Promise.all([getJson('/api/info'), getJson('/api/palettes')]);
  state.info = info;
  state.palettes = palettes;
  for (const name of Object.keys(palettes)) {
    const o = document.createElement('option');
    o.value = o.textContent = name;
    $('palette').appendChild(o);
  }
  $('source').textContent = sourceText(info);
  setCount();
  fit();
  setupPointer();
  await showFrame(firstWanted !== null ? firstWanted : info.live ? info.frames - 1 : info.first);
  requestSeries(false);
  window.kalviroView.ready = true;

  window.addEventListener('hashchange', () => {
    const n = fromHash();
    if (n !== null && n !== state.index) showFrame(n);
  });
  window.addEventListener('resize', fit);
  $('scrubber').addEventListener('input', () => showFrame(Number($('scrubber').value)));
  $('play').onclick = () => { if (state.playing) state.playing = false; else play(); };
  for (const id of ['palette', 'range', 'isotherm', 'isocolour']) $(id).addEventListener('change', () => state.temps && render());
  $('clear').onclick = () => { state.shapes = []; state.selected = -1; endPolygon(false); shapesChanged(); };
  $('export-png').onclick = exportPng;
  document.addEventListener('keydown', (ev) => {
    if (ev.target.tagName === 'INPUT' || ev.target.tagName === 'TEXTAREA') return;
    if (state.polygon && (ev.key === 'Enter' || ev.key === 'Escape')) {
      endPolygon(ev.key === 'Enter');
      ev.preventDefault();
      return;
    }
    if (ev.key === 'ArrowRight') showFrame(state.index + 1);
    if (ev.key === 'ArrowLeft') showFrame(state.index - 1);
    if (ev.key === ' ') { ev.preventDefault(); $('play').click(); }
  });
  if (info.live) {
    const b = $('live-pause');
    b.hidden = false;
    b.onclick = () => {
      state.followLive = !state.followLive;
      b.textContent = state.followLive ? 'pause live' : 'follow live';
      if (state.followLive) showFrame(state.info.frames - 1);
    };
    follow();
  }
}

start().catch((e) => { $('readout').textContent = 'cannot load: ' + e.message; });
