// Keeps the model as it is in the sandbox: fetches all once, and then follows the events.
import { get } from './api.js';

const kNewest = 300; // exchanges that are shown before all others are there

/**
 * Follows the sandbox.
 * @param {import('./model.js').Model} model
 * @param {function(boolean): void} onConnection called with whether events arrive
 */
export function follow(model, onConnection) {
  const source = new EventSource('/events');
  const handlers = {
    exchange: (data) => model.putExchange(data),
    object: (data) => model.putObject(data),
    script: (data) => model.putScript(data),
    switches: (data) => model.setSwitches(data),
  };
  let waiting = []; // events that came while everything was fetched; null: none is awaited
  let round = 0;

  const apply = ({ name, data }) => handlers[name](data);
  for (const name of Object.keys(handlers)) {
    source.addEventListener(name, (event) => {
      const item = { name, data: JSON.parse(event.data) };
      if (waiting) waiting.push(item);
      else apply(item);
    });
  }
  source.addEventListener('resync', async ({ lastEventId }) => {
    [model.run] = lastEventId.split('.');
    waiting = [];
    const own = ++round;
    await fetchAll(model, () => own === round).catch(() => undefined);
    if (own !== round) return;
    const late = waiting;
    waiting = null;
    late.forEach(apply);
  });
  source.addEventListener('open', () => onConnection(true));
  source.addEventListener('error', () => onConnection(false));
}

async function fetchAll(model, isCurrent) {
  const [about, objects, scripts, switches, newest] = await Promise.all(
    ['/about', '/objects', '/scripts', '/switches', `/requests?brief=1&limit=${kNewest}`].map(get),
  );
  if (!isCurrent()) return;
  model.setAbout(about);
  model.setExchanges(newest);
  model.setObjects(objects);
  model.setScripts(scripts);
  model.setSwitches(switches);
  if (newest.length < kNewest) return;
  const all = await get('/requests?brief=1');
  if (isCurrent()) model.setExchanges(all);
}
