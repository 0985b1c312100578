// The dashboard's JSON API. Paths are relative: the page's own path carries the session token.

export class ApiError extends Error {
  constructor(status, body) {
    super(body && body.error ? body.error : `the dashboard answered HTTP ${status}`);
    this.status = status;
    this.body = body;
  }
}

async function answer(response) {
  const body = await response.json().catch(() => null);
  if (!response.ok) throw new ApiError(response.status, body);
  return body;
}

export async function get(name, params = {}) {
  const query = new URLSearchParams(Object.entries(params).filter(([, v]) => v !== undefined && v !== ''));
  return answer(await fetch(`api/${name}?${query}`, { headers: { Accept: 'application/json' } }));
}

export async function post(name, body) {
  return answer(await fetch(`api/${name}`, {
    method: 'POST',
    headers: { 'Content-Type': 'application/json', Accept: 'application/json' },
    body: JSON.stringify(body),
  }));
}

// Builds an element; children are nodes or text (never parsed as HTML).
export function h(tag, attributes = {}, ...children) {
  const element = document.createElement(tag);
  for (const [key, value] of Object.entries(attributes)) {
    if (key.startsWith('on')) element.addEventListener(key.slice(2), value);
    else if (value !== false && value !== undefined) element.setAttribute(key, value === true ? '' : value);
  }
  for (const child of children.flat()) {
    if (child !== null && child !== undefined) element.append(child instanceof Node ? child : String(child));
  }
  return element;
}
