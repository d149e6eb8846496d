'use strict';
// The engine's worker: a Web Worker in a browser, a worker thread in Node.
// It loads one of the two builds of the module beside this file and relays
// UCI lines between it and its owner, so no command blocks the owner and
// nothing the module does reaches the owner's process or page.
// In: { start: { threads } } once, then { line }.
// Out: { text } (output lines), { started: true, threads } once, and
// { failed } with the reason when the engine cannot start or fails later.
/* global importScripts */

var inNode = typeof importScripts !== 'function';
var nodeThreads = inNode ? require('node:worker_threads') : null;
var folder = inNode ? __dirname + '/' : self.location.href.replace(/[?#].*$/, '').replace(/[^/]*$/, '');
var post = inNode ? function (message) { nodeThreads.parentPort.postMessage(message); } : function (message) { self.postMessage(message); };
var conversation = null;
var early = [];
var failed = false;
var lastError = '';

function deliver(text) {
  if (text) post({ text: text });
}

function fail(reason) {
  if (failed) return;
  failed = true;
  post({ failed: String(reason) });
}

function receive(message) {
  if (message.start) begin(message.start);
  else if (!conversation) early.push(message);
  else if (!failed) {
    try {
      conversation.send(message.line);
    } catch (error) {
      fail('the engine failed: ' + ((error && error.message) || error));
    }
  }
}

if (inNode) nodeThreads.parentPort.on('message', receive);
else self.onmessage = function (event) { receive(event.data); };

// A macrotask soon: the owner's messages are taken before it runs.
var nextTask = typeof setImmediate === 'function' ? setImmediate : (function () {
  var channel = new MessageChannel();
  var callbacks = [];
  channel.port1.onmessage = function () { callbacks.shift()(); };
  return function (callback) {
    callbacks.push(callback);
    channel.port2.postMessage(0);
  };
})();

// The module with threads searches on its own threads and keeps its output
// until read: it is read after each command and whenever a search thread
// wrote to it (varnOutputWaiting).
var threadedModule = null;
var threadedHooks = {
  varnOutputWaiting: function () { if (threadedModule) deliver(threadedModule.UTF8ToString(threadedModule._VarnUciRead())); },
};

function threadedConversation(module) {
  threadedModule = module;
  return {
    start: function () {
      var started = module._VarnUciStart() === 1;
      threadedHooks.varnOutputWaiting();
      return started;
    },
    send: function (line) {
      call(module, line);
      threadedHooks.varnOutputWaiting();
    },
  };
}

// The module without threads writes each output line at once (varnOutput)
// and, while a search runs, sleeps in turns (varnTurn) in which new lines
// are handed to it; a waiting turn (a held bestmove) lasts until one comes.
var wake = null;
var singleHooks = {
  varnOutput: function (line) { deliver(line + '\n'); },
  varnTurn: function (wait) {
    return new Promise(function (resolve) {
      if (wait) wake = resolve;
      else nextTask(resolve);
    });
  },
};

function singleConversation(module) {
  return {
    start: function () { return module._VarnUciStart() === 1; },
    send: function (line) {
      call(module, line);
      if (wake) {
        var resume = wake;
        wake = null;
        resume();
      }
    },
  };
}

// Hands one command line to the module (which copies it at once).
function call(module, line) {
  var size = module.lengthBytesUTF8(line) + 1;
  var pointer = module._malloc(size);
  module.stringToUTF8(line, pointer, size);
  module._VarnUciCommand(pointer);
  module._free(pointer);
}

function begin(options) {
  var threads = Boolean(options.threads);
  var name = threads ? 'varn' : 'varn-single';
  var create;
  try {
    if (inNode) {
      create = require(folder + name + '.js');
    } else {
      importScripts(folder + name + '.js');
      create = threads ? self.createVarn : self.createVarnSingle;
    }
  } catch (error) {
    fail('the engine could not be loaded from ' + folder + name + '.js: ' + ((error && error.message) || error));
    return;
  }
  var settings = {
    locateFile: function (file) { return folder + file; },
    print: function () {},
    printErr: function (text) { lastError = text; },
    // The module ends nothing but itself.
    quit: function (status, toThrow) { throw toThrow; },
    onAbort: function (what) {
      fail((conversation ? 'the engine stopped: ' : 'the engine could not be loaded: ') + (what || lastError || 'abort'));
    },
  };
  // Node: the module's own loader would fetch the file by URL.
  if (inNode) settings.wasmBinary = require('node:fs').readFileSync(folder + name + '.wasm');
  // The module's threads load the main script by this address: a worker has
  // no script element to tell it.
  else if (threads) settings.mainScriptUrlOrBlob = folder + 'varn.js';
  Object.assign(settings, threads ? threadedHooks : singleHooks);
  create(settings).then(function (module) {
    conversation = threads ? threadedConversation(module) : singleConversation(module);
    if (!conversation.start()) {
      fail('the engine could not start');
      return;
    }
    post({ started: true, threads: threads });
    early.splice(0).forEach(receive);
  }, function (error) {
    fail('the engine could not be loaded: ' + ((error && error.message) || error));
  });
}
