'use strict';
// One UCI conversation with the WebAssembly module through its three
// functions: a command line in, the output text out. Searches run on the
// module's own threads, so between a "go" and its "bestmove" the output is
// read every few milliseconds. Loaded by the browser's host worker and by Node.
function openVarnUci(module, deliver, pollMs) {
  var searches = 0;
  var timer = null;

  function read() {
    var text = module.UTF8ToString(module._VarnUciRead());
    if (!text) return;
    var ends = text.match(/^bestmove /gm);
    if (ends) searches = Math.max(0, searches - ends.length);
    deliver(text);
  }

  function watch() {
    if (searches > 0 && timer === null) {
      timer = setInterval(function () { read(); watch(); }, pollMs || 5);
    } else if (searches === 0 && timer !== null) {
      clearInterval(timer);
      timer = null;
    }
  }

  return {
    // Starts the session; false when the engine could not start (it said why).
    start: function () {
      var started = module._VarnUciStart() === 1;
      read();
      return started;
    },
    // Runs one command line; false after "quit".
    send: function (line) {
      if (/^go(\s|$)/.test(line)) searches += 1;
      var size = module.lengthBytesUTF8(line) + 1;
      var pointer = module._malloc(size);
      module.stringToUTF8(line, pointer, size);
      var alive = module._VarnUciCommand(pointer) !== 0;
      module._free(pointer);
      read();
      watch();
      return alive;
    },
    // Ends polling and the module's threads.
    close: function () {
      if (timer !== null) clearInterval(timer);
      timer = null;
      module.PThread.terminateAllThreads();
    },
  };
}

if (typeof module === 'object' && module.exports) module.exports = openVarnUci;
