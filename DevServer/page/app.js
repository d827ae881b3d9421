// The reference web app's page side of the add-on's bridge: a token source, sign-in state,
// the extraction events and the last extraction with its mask.
(function () {
  'use strict';

  var kSessionKey = 'velmora.session';
  var kEvents = ['extractionProgress', 'extractionComplete', 'extractionError'];
  var byId = function (id) { return document.getElementById(id); };

  // Every extraction event the page received, in order, for tests to read.
  window.__events = [];

  function loadSession() {
    try {
      var session = JSON.parse(localStorage.getItem(kSessionKey) || 'null');
      return session && typeof session.token === 'string' && session.token ? session : null;
    } catch (e) {
      return null;
    }
  }

  function saveSession(session) {
    if (session)
      localStorage.setItem(kSessionKey, JSON.stringify(session));
    else
      localStorage.removeItem(kSessionKey);
  }

  // What the add-on's token pull script reads: JSON text, as the sign-in library would give.
  window.getFirebaseToken = function () {
    var session = loadSession();
    return JSON.stringify(session ? { success: true, token: session.token } : { success: false });
  };

  function bridge() {
    return window.velmora || null;
  }

  function renderSession() {
    var session = loadSession();
    var pill = byId('session-pill');
    pill.textContent = session ? 'Signed in' : 'Signed out';
    pill.className = session ? 'pill on' : 'pill';
    byId('session-text').textContent = session
      ? 'Signed in as ' + session.email + '.'
      : 'Sign in to send views from Archicad.';
    byId('sign-in').disabled = !!session;
    byId('sign-out').disabled = !session;
    byId('extract').disabled = !session;
    byId('bridge-state').textContent =
      'Add-on bridge: ' + (bridge() ? 'connected' : 'not connected');
  }

  function showProgress(percent, text, kind) {
    var bar = byId('progress-bar');
    bar.style.width = percent + '%';
    bar.className = kind || '';
    var status = byId('progress-text');
    status.textContent = text;
    status.className = kind === 'failed' ? 'status failed' : 'status';
  }

  function showLastExtraction(stamp) {
    var figure = byId('result');
    var image = byId('result-image');
    var mask = byId('result-mask');
    var query = '?n=' + stamp;
    image.onload = function () {
      figure.classList.remove('empty');
      byId('result-caption').textContent =
        'Last extraction: ' + image.naturalWidth + ' x ' + image.naturalHeight + ' px';
    };
    image.onerror = function () { figure.classList.add('empty'); };
    mask.onerror = function () { figure.classList.add('no-mask'); };
    mask.onload = function () {
      figure.classList.toggle('no-mask', !byId('show-mask').checked);
    };
    image.src = '/_control/last-extraction.jpg' + query;
    mask.src = '/_control/last-extraction.png' + query;
  }

  function onExtractionEvent(action, data) {
    if (action === 'extractionProgress') {
      showProgress(data.progress, data.progress + '% \u00b7 ' + data.status);
    } else if (action === 'extractionComplete') {
      showProgress(100, 'Extraction uploaded', 'done');
      showLastExtraction(Date.now());
    } else {
      showProgress(100, 'Extraction failed: ' + data.error, 'failed');
    }
  }

  window.addEventListener('message', function (event) {
    var message = event.data;
    if (!message || typeof message !== 'object' || kEvents.indexOf(message.action) < 0)
      return;
    var data = message.data && typeof message.data === 'object' ? message.data : {};
    window.__events.push({ action: message.action, data: data });
    onExtractionEvent(message.action, data);
  });

  function signIn() {
    fetch('/_control/session')
      .then(function (answer) { return answer.json(); })
      .then(function (session) {
        saveSession({ token: session.token, email: session.email });
        renderSession();
        // Asks the add-on for its token; while it has none it pulls ours.
        if (bridge())
          bridge().getAuthToken();
      })
      .catch(function (error) { showProgress(0, 'Sign-in failed: ' + error, 'failed'); });
  }

  function signOut() {
    saveSession(null);
    renderSession();
    if (!bridge())
      return;
    bridge().onAuthToken('').then(function () {
      document.body.dataset.addonSession = 'signed-out';
    });
  }

  function extract() {
    if (!bridge()) {
      showProgress(0, 'Open this page in the Archicad panel to extract.', 'failed');
      return;
    }
    showProgress(0, 'Asking Archicad for the view\u2026');
    bridge().requestExtract('{"includeMask":true}').then(function (started) {
      if (!started)
        showProgress(0, 'Archicad did not start the extraction.', 'failed');
    });
  }

  byId('sign-in').addEventListener('click', signIn);
  byId('sign-out').addEventListener('click', signOut);
  byId('extract').addEventListener('click', extract);
  byId('show-mask').addEventListener('change', function () {
    byId('result').classList.toggle('no-mask', !this.checked);
  });

  // For tests: a load event held back until the service is told to release it.
  if (new URLSearchParams(location.search).has('hold')) {
    var held = new Image();
    held.src = '/_control/hold';
    held.className = 'held';
    document.body.appendChild(held);
  }

  renderSession();
  showLastExtraction(Date.now());
  // The bridge object may arrive after the page's own script has run.
  window.addEventListener('load', renderSession);
  setTimeout(renderSession, 500);
  window.__appReady = true;
})();
