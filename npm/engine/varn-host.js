'use strict';
// The engine's worker in a browser: loads the WebAssembly module beside this
// file and relays UCI lines between it and the page, so that no command ever
// blocks the page. Messages in: { line } or { close: true }; out: { text }
// with output lines, { started } once, { error } when loading fails.
/* global createVarn, openVarnUci */
importScripts('varn.js', 'varn-uci.js');

var folder = self.location.href.replace(/[?#].*$/, '').replace(/[^/]*$/, '');
var uci = null;
var early = [];

self.onmessage = function (event) {
  if (!uci) early.push(event.data);
  else handle(event.data);
};

function handle(message) {
  if (message.close) {
    uci.close();
    self.close();
  } else {
    uci.send(message.line);
  }
}

createVarn({
  // The module's threads load the main script by this address: a worker has
  // no script element to tell it.
  mainScriptUrlOrBlob: folder + 'varn.js',
  locateFile: function (name) { return folder + name; },
}).then(function (module) {
  uci = openVarnUci(module, function (text) { self.postMessage({ text: text }); });
  self.postMessage({ started: uci.start() });
  early.splice(0).forEach(handle);
}, function (error) {
  self.postMessage({ error: String((error && error.message) || error) });
});
