// Search in a site that is opened from files. Browsers do not permit such a page to fetch the search
// index or to start a worker. So the index is loaded as a script, and a hidden frame runs the script
// of the worker.
if (location.protocol === "file:") {
  const base = new URL(".", document.currentScript.src);
  let loaded;
  window.__search = { index: new Promise(resolve => { loaded = resolve; }) };
  window.loadSearchIndex = loaded;

  window.Worker = class extends EventTarget {
    constructor(url) {
      super();
      const index = document.createElement("script");
      index.src = new URL("search/search_index.js", base);
      const frame = document.createElement("iframe");
      frame.hidden = true;
      document.body.append(index, frame);
      this.inner = frame.contentWindow;
      this.inner.postMessage = data => this.dispatchEvent(new MessageEvent("message", { data }));
      this.started = new Promise(resolve => {
        const script = this.inner.document.createElement("script");
        script.src = url;
        script.onload = resolve;
        this.inner.document.body.append(script);
      });
    }

    postMessage(data) {
      this.started.then(() => this.inner.dispatchEvent(new MessageEvent("message", { data })));
    }
  };
}
