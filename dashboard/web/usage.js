// The usage dashboard: a chart per operation group of what apps did over the last 24 hours or
// 7 days (uses per interval, accessed against rejected, and the accessed uses that came in the
// foreground, in the background and on a locked screen), drawn from every timeline record of the
// range; for one app also its timeline and its summary.
import uPlot from './vendor/uPlot.esm.js';
import { get, h } from './api.js';

const HOUR = 3600 * 1000;
const RANGES = {
  '24 hours': { span: 24 * HOUR, bucket: HOUR },
  '7 days': { span: 7 * 24 * HOUR, bucket: 6 * HOUR },
};
const SERIES = [
  { label: 'accessed', stroke: '#1b7a3a', fill: 'rgba(27,122,58,0.12)', width: 2 },
  { label: 'rejected', stroke: '#c62828', width: 2 },
  { label: 'in foreground', stroke: '#1f5fbf', dash: [5, 3] },
  { label: 'in background', stroke: '#8e44ad', dash: [5, 3] },
  { label: 'screen locked', stroke: '#e67e22', dash: [2, 3] },
];
const APP_STATES = { 1: 'foreground', 2: 'background' };
const SCREEN_STATES = { 1: 'unlocked', 2: 'locked' };
let rangeName = '24 hours';

// The charts on the page, for whoever inspects them: the group, the range and the uPlot instance.
window.aspCharts = [];

// "CAMERA-P" (a picker use) and "CAMERA-SC" (a security component's) count as CAMERA.
function baseGroup(name) {
  return name.replace(/-(P|SC)$/, '');
}

// Per operation group, the five series over `count` intervals of `bucket` ms from `begin`.
export function bucketize(records, begin, bucket, count) {
  const groups = new Map();
  for (const record of records) {
    const index = Math.floor((record.beginTimestamp - begin) / bucket);
    if (index < 0 || index >= count) continue;
    const name = baseGroup(record.operationGroup);
    if (!groups.has(name)) groups.set(name, SERIES.map(() => new Array(count).fill(0)));
    const [accessed, rejected, foreground, background, locked] = groups.get(name);
    if (record.operationMode === 0) {
      accessed[index] += record.times;
      if (record.appState === 1) foreground[index] += record.times;
      if (record.appState === 2) background[index] += record.times;
      if (record.screenState === 2) locked[index] += record.times;
    } else {
      rejected[index] += record.times;
    }
  }
  return new Map([...groups].sort(([a], [b]) => a.localeCompare(b)));
}

function when(ms) {
  return new Date(ms).toLocaleString();
}

function chart(parent, group, series, begin, end, bucket) {
  const total = (values) => values.reduce((sum, value) => sum + value, 0);
  const [accessed, rejected, foreground, background, locked] = series.map(total);
  const box = h('div', { class: 'chart', 'data-group': group },
    h('h3', {}, group),
    h('div', { class: 'totals' }, `${accessed} accessed, ${rejected} rejected · of the accessed: ` +
      `${foreground} in foreground, ${background} in background, ${locked} on a locked screen`));
  parent.append(box);
  const times = series[0].map((_, i) => (begin + i * bucket) / 1000);
  const plot = new uPlot({
    width: Math.max(300, box.clientWidth - 16),
    height: 180,
    legend: { live: false },
    scales: { x: { time: true, range: [begin / 1000, end / 1000] } },
    axes: [{}, { label: 'uses', size: 50 }],
    series: [{}, ...SERIES.map((s) => ({ ...s, points: { show: false }, paths: uPlot.paths.stepped({ align: 1 }) }))],
  }, [times, ...series], box);
  window.aspCharts.push({ group, begin, end, bucket, plot });
}

async function timelineOf(params, mode) {
  return get('usage', { ...params, view: 'timeline', mode, limit: 0 });
}

function recordRows(records, withTime) {
  return records.map((r) => h('tr', {},
    withTime ? h('td', {}, when(r.beginTimestamp)) : h('td', {}, r.bundleName),
    h('td', {}, r.operationGroup), h('td', {}, r.times),
    h('td', {}, r.operationMode === 0 ? 'accessed' : 'rejected'),
    h('td', {}, APP_STATES[r.appState] ?? 'any'), h('td', {}, SCREEN_STATES[r.screenState] ?? 'any')));
}

function table(headings, rows) {
  return h('table', {}, h('thead', {}, h('tr', {}, headings.map((t) => h('th', {}, t)))), h('tbody', {}, rows));
}

export async function renderUsage(page, { user, bundle }) {
  const { span, bucket } = RANGES[rangeName];
  const end = Math.ceil((Date.now() + 1) / bucket) * bucket;
  const begin = end - span;
  const params = { user, bundle, begin, end };
  const [allowed, rejected] = await Promise.all([timelineOf(params, 'allowed'), timelineOf(params, 'rejected')]);
  const records = [...allowed.records, ...rejected.records];
  for (const old of window.aspCharts) old.plot.destroy();
  window.aspCharts = [];

  const buttons = Object.keys(RANGES).map((name) => h('button', {
    class: name === rangeName ? 'on' : '',
    onclick: () => { rangeName = name; window.dispatchEvent(new HashChangeEvent('hashchange')); },
  }, `Last ${name}`));
  const title = bundle ? `Usage of ${bundle}` : `Usage by all apps of user ${user}`;
  const content = [h('div', { class: 'toolbar' }, h('h2', {}, title), ...buttons),
    h('p', { class: 'note' }, `${when(begin)} to ${when(end)}, ${records.length} records`,
      allowed.complete && rejected.complete ? '' : ' (more than the service would list: the charts show part)')];
  const charts = h('div', { class: 'charts' });
  content.push(charts);
  if (bundle) {
    const summaries = await Promise.all(['allowed', 'rejected'].map((mode) =>
      get('usage', { ...params, view: 'summary', mode })));
    const newest = records.sort((a, b) => b.beginTimestamp - a.beginTimestamp).slice(0, 200);
    content.push(h('h2', {}, 'Summary'),
      table(['App', 'Group', 'Times', 'Mode', 'App state', 'Screen'],
        recordRows(summaries.flatMap((s) => s.records), false)),
      h('h2', {}, `Timeline (newest ${newest.length})`),
      table(['Time', 'Group', 'Times', 'Mode', 'App state', 'Screen'], recordRows(newest, true)));
  }
  page.replaceChildren(...content);
  const groups = bucketize(records, begin, bucket, span / bucket);
  if (groups.size === 0) charts.append(h('p', { class: 'note' }, 'No use in this range.'));
  for (const [group, series] of groups) chart(charts, group, series, begin, end, bucket);
  return null;
}
