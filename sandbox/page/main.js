// Starts the page: the views, the tabs, and what is in the bar.
import { call } from './api.js';
import { byId, onceAFrame, setText, toast } from './dom.js';
import { ExchangesView } from './exchanges.js';
import { FaultsView } from './faults.js';
import { follow } from './live.js';
import { Model } from './model.js';
import { PublishedView } from './published.js';
import { SignInView } from './sign_in.js';

const model = new Model();
const views = {
  published: new PublishedView(byId('published'), model),
  exchanges: new ExchangesView(byId('exchanges'), model),
  faults: new FaultsView(byId('faults'), model),
  'sign-in': new SignInView(byId('sign-in'), model),
};

// The part of the URL after "#": the name of a view, and what it shows.
function showView() {
  const [name, detail] = location.hash.slice(1).split('/');
  const shown = Object.hasOwn(views, name) ? name : 'published';
  for (const [key, view] of Object.entries(views)) {
    byId(key).hidden = key !== shown;
    // The empty value would mean that it is not the current one.
    const link = document.querySelector(`[data-view="${key}"]`);
    if (key === shown) link.setAttribute('aria-current', 'page');
    else link.removeAttribute('aria-current');
    view.setShown(key === shown, detail);
  }
}

function showCounts() {
  setText(byId('count-published'), views.published.count());
  setText(byId('count-exchanges'), model.exchanges.length);
  setText(byId('count-faults'), views.faults.count());
  setText(byId('count-sign-in'), views['sign-in'].count());
}

function askBeforeReset() {
  const dialog = byId('confirm');
  byId('reset').addEventListener('click', () => dialog.showModal());
  byId('confirm-no').addEventListener('click', () => dialog.close());
  byId('confirm-yes').addEventListener('click', async () => {
    dialog.close();
    await call('POST', '/reset').then(
      () => toast('Everything was removed.'),
      (error) => toast(`The reset failed: ${error.message}`),
    );
  });
}

// The part of the URL after "#" is the view, which stays.
function skipTheBar() {
  document.querySelector('.skip').addEventListener('click', (event) => {
    event.preventDefault();
    byId('content').focus();
  });
}

function showConnection(isOpen) {
  const element = byId('connection');
  element.classList.toggle('open', isOpen);
  setText(element, isOpen ? 'live' : 'the sandbox does not reply');
}

const scheduleCounts = onceAFrame(showCounts);
for (const part of ['exchanges', 'objects', 'scripts', 'switches']) model.addEventListener(part, scheduleCounts);
addEventListener('hashchange', showView);
askBeforeReset();
skipTheBar();
showView();
follow(model, showConnection);
