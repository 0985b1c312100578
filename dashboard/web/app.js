// The dashboard's pages, one per route of the location's hash:
//   #/apps            apps of the user with their groups' states
//   #/app/BUNDLE      one app's groups, the states offered and disabled, and the control that changes one
//   #/group/GROUP     one group across the user's apps
//   #/usage[/BUNDLE]  usage charts per group (and one app's timeline and summary)
//   #/gtoken          GToken policies with the disposed status
import { get, post, h } from './api.js';
import { renderUsage } from './usage.js';

const page = document.getElementById('page');
const userInput = document.getElementById('user');
let meta = null;

const REASONS = {
  NONE: '',
  POLICY_OR_SYSTEM_FIXED: 'fixed by the system or a policy',
  INVALID_REQUEST_PERMISSIONS_COMBINATION: 'the app requests an invalid combination of permissions',
};

function user() {
  return userInput.value || String(meta.userId);
}

function stateChip(state) {
  return h('span', { class: `chip state-${state}` }, state);
}

function flagsText(flags) {
  const words = [];
  if (flags & 1) words.push('user set');
  if (flags & 2) words.push('user fixed');
  return words.join(', ') || '—';
}

function table(headings, rows) {
  return h('table', {}, h('thead', {}, h('tr', {}, headings.map((text) => h('th', {}, text)))), h('tbody', {}, rows));
}

function offeredStates(info) {
  return info.shownStates.map((state) => {
    const disabled = info.disabledStates.includes(state);
    return h('span', { class: `chip${disabled ? ' disabled' : ''}`, title: disabled ? 'disabled' : 'offered' }, state);
  });
}

async function appsPage() {
  const answer = await get('apps', { user: user() });
  const rows = answer.apps.map((app) => h('tr', { 'data-bundle': app.bundleName },
    h('td', {}, h('a', { href: `#/app/${app.bundleName}` }, app.bundleName)),
    h('td', {}, app.uid),
    h('td', {}, app.groups.map((g) => h('span', { class: `chip state-${g.checkedState}`, title: g.checkedState },
      `${g.permissionGroup}: ${g.checkedState}`)))));
  return [h('h2', {}, `Apps of user ${answer.userId} (${answer.apps.length})`),
    table(['App', 'UID', 'Permission groups and their states'], rows)];
}

// One row of an app's groups: the state, what is offered, and the control that asks the service
// for a change. Every state can be asked for: the service decides, and its refusal is shown.
function groupRow(bundle, info, reload) {
  const notOffered = meta.states.filter((state) => !info.shownStates.includes(state));
  const select = h('select', { 'aria-label': `new state of ${info.permissionGroup}` },
    h('optgroup', { label: 'offered' }, info.shownStates.map((s) => h('option', { value: s }, s))),
    h('optgroup', { label: 'not offered for this group' }, notOffered.map((s) => h('option', { value: s }, s))));
  select.value = info.checkedState;
  const fixed = h('input', { type: 'checkbox', title: 'user fixed: the app may not ask again' });
  const message = h('span', { class: 'message', role: 'status' });
  const apply = h('button', {
    onclick: async () => {
      message.className = 'message';
      message.textContent = 'asking the service…';
      try {
        await post('set', { bundleName: bundle, userId: Number(user()), permissionGroup: info.permissionGroup,
          checkedState: select.value, userFixed: fixed.checked });
        await reload(`${info.permissionGroup} is now ${select.value}`);
      } catch (error) {
        message.className = 'message refusal';
        message.textContent = error.body && error.body.refusal ? error.body.refusal : error.message;
      }
    },
  }, 'Apply');
  const reason = REASONS[info.disabledReason] ?? info.disabledReason;
  return h('tr', { 'data-group': info.permissionGroup },
    h('td', {}, h('a', { href: `#/group/${info.permissionGroup}` }, info.permissionGroup)),
    h('td', { class: 'checked' }, stateChip(info.checkedState)),
    h('td', {}, offeredStates(info)),
    h('td', {}, reason || '—'),
    h('td', {}, flagsText(info.flags)),
    h('td', {}, select, ' ', h('label', {}, fixed, 'fixed'), ' ', apply, ' ', message));
}

async function appPage(bundle) {
  const render = async (notice) => {
    const answer = await get('app', { bundle, user: user() });
    const rows = answer.groups.map((info) => groupRow(bundle, info, render));
    page.replaceChildren(h('h2', {}, `${bundle}, user ${answer.userId}`),
      h('p', {}, h('a', { href: `#/usage/${bundle}` }, 'Usage of this app'),
        notice ? h('span', { class: 'applied', role: 'status' }, ` · ${notice}`) : null),
      answer.groups.length ? table(['Group', 'State', 'Offered (struck: disabled)', 'Why disabled', 'Flags',
        'Change'], rows) : h('p', { class: 'note' }, 'This app requests no permission group.'));
  };
  await render();
  return null;
}

async function groupPage(group) {
  const answer = await get('group', { group, user: user() });
  const picker = h('select', { onchange: () => { location.hash = `#/group/${picker.value}`; } },
    meta.groups.map((g) => h('option', { value: g }, g)));
  picker.value = group;
  const rows = answer.apps.map((info) => h('tr', { 'data-bundle': info.bundleName },
    h('td', {}, h('a', { href: `#/app/${info.bundleName}` }, info.bundleName)),
    h('td', {}, info.uid),
    h('td', {}, stateChip(info.checkedState)),
    h('td', {}, offeredStates(info)),
    h('td', {}, (REASONS[info.disabledReason] ?? info.disabledReason) || '—'),
    h('td', {}, flagsText(info.flags))));
  return [h('div', { class: 'toolbar' }, h('h2', {}, 'Group'), picker,
    h('span', { class: 'note' }, `${answer.apps.length} apps of user ${answer.userId}`)),
  answer.apps.length ? table(['App', 'UID', 'State', 'Offered (struck: disabled)', 'Why disabled', 'Flags'], rows)
    : h('p', { class: 'note' }, 'No app of this user requests this group.')];
}

async function gtokenPage(policy) {
  const answer = await get('gtoken', { policy });
  const input = h('input', { value: policy, 'aria-label': 'policy name' });
  const show = h('button', { onclick: () => { location.hash = `#/gtoken/${input.value}`; } }, 'Show');
  const rows = answer.rows.map((row) => h('tr', { 'data-bundle': row.bundleName },
    h('td', {}, row.bundleName), h('td', {}, row.fingerPrint || '—'), h('td', {}, row.versionCode),
    h('td', {}, row.policyValue),
    h('td', { class: row.disposed ? 'disposed' : '' }, row.disposed ? 'disposed' : '—')));
  return [h('div', { class: 'toolbar' }, h('h2', {}, 'GToken policy'), input, show),
    h('p', { class: 'note' }, 'A bundle whose malicious-app policy is 1 is disposed: the service handed its ' +
      'disposed status to the bundle manager.'),
    answer.rows.length ? table(['Bundle', 'Fingerprint', 'Version', 'Value', 'Status'], rows)
      : h('p', { class: 'note' }, `No bundle has the policy ${policy}.`)];
}

async function route() {
  const [, name = 'apps', argument = ''] = location.hash.split('/');
  const decoded = decodeURIComponent(argument);
  for (const link of document.querySelectorAll('header nav a')) {
    link.classList.toggle('active', link.getAttribute('href').split('/')[1] === name);
  }
  document.body.dataset.ready = 'false';
  try {
    let content;
    if (name === 'app' && decoded) content = await appPage(decoded);
    else if (name === 'group') content = await groupPage(decoded || 'LOCATION');
    else if (name === 'usage') content = await renderUsage(page, { user: user(), bundle: decoded });
    else if (name === 'gtoken') content = await gtokenPage(decoded || 'malicious-app');
    else content = await appsPage();
    if (content) page.replaceChildren(...[content].flat());
  } catch (error) {
    page.replaceChildren(h('p', { class: 'error', role: 'alert' }, error.message));
  }
  document.body.dataset.ready = 'true';
}

async function start() {
  try {
    meta = await get('meta');
  } catch (error) {
    page.replaceChildren(h('p', { class: 'error', role: 'alert' }, error.message));
    return;
  }
  userInput.value = meta.userId;
  document.getElementById('caller').textContent = `as ${meta.caller.bundleName} (uid ${meta.caller.uid})`;
  userInput.addEventListener('change', route);
  window.addEventListener('hashchange', route);
  await route();
}

start();
