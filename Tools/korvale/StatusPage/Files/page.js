"use strict";

// Each event has all sections of the page as HTML; those that have changed are replaced.

const kRetryMS = 2000;
const state = document.getElementById("state");

function showState(text, name) {
  if (state.textContent !== text) {
    state.textContent = text;
    state.className = name;
  }
}

function update(event) {
  showState("Live", "live");
  const received = new DOMParser().parseFromString(event.data, "text/html");
  for (const section of [...received.body.children]) {
    const shown = document.getElementById(section.id);
    if (shown && shown.outerHTML !== section.outerHTML)
      shown.replaceWith(section);
  }
}

function connect() {
  const source = new EventSource("/events");
  source.onmessage = update;
  source.onerror = () => {
    showState("Not connected: the figures are old", "lost");
    if (source.readyState === EventSource.CLOSED) // refused; lost connections are repeated by the browser
      setTimeout(connect, kRetryMS);
  };
}

showState("Connecting", "");
connect();
