'use strict';
// The page of a contact sheet.

const path = require('node:path');

const STYLE = `body { margin: 2em; font: 15px/1.4 system-ui, sans-serif; background: #16181c; color: #dfe3e8; }
    a { color: inherit; text-decoration: none; }
    main { display: flex; flex-wrap: wrap; gap: 1.2em; align-items: flex-end; }
    figure { margin: 0; }
    img { display: inline-block; max-width: 100%; vertical-align: bottom; }
    figcaption { margin-top: .3em; overflow-wrap: anywhere; }
    .none { display: grid; place-items: center; background: #262a31; color: #8d96a3; }`;

const ENTITIES = { '&': '&amp;', '<': '&lt;', '>': '&gt;', '"': '&quot;', "'": '&#39;' };

/** A text as a page shows it: a file's name may hold what a browser obeys. */
const escaped = (text) => text.replace(/[&<>"']/g, (letter) => ENTITIES[letter])
  .replace(/[\p{Cc}\u202a-\u202e\u2066-\u2069]/gu, '\ufffd');

/** A path as a relative link; the dot keeps a name with a colon from being a scheme. */
const link = (from, to) => {
  const steps = path.relative(from, to).split(path.sep).map(encodeURIComponent);
  return `./${steps.join('/')}`.replaceAll("'", '%27');
};

function figure({ folder, output, size }, { file, bitmaps, width, height }) {
  const name = escaped(path.relative(folder, file.path));
  const pictures = bitmaps.map((bitmap, frame) =>
    `<img src="${escaped(bitmap)}" width="${width}" height="${height}" loading="lazy" alt="${frame === 0 ? name : ''}">`);
  const none = `<span class="none" style="width: ${size}px; height: ${Math.round(size / 2)}px">no thumbnail</span>`;
  const widest = Math.max(size, (width ?? 0) * bitmaps.length);
  return `<figure style="max-width: ${widest}px">
        <a href="${link(output, file.path)}">${pictures.join('') || none}</a>
        <figcaption>${name}</figcaption>
      </figure>`;
}

/** The page for `shown`, a list of {file, bitmaps, width, height}. `wishes`: {folder, output, size}. */
const page = (wishes, shown) => `<!doctype html>
<html lang="en">
  <head>
    <meta charset="utf-8">
    <meta name="viewport" content="width=device-width">
    <title>${escaped(path.basename(wishes.folder))}</title>
    <style>
    ${STYLE}
    </style>
  </head>
  <body>
    <h1>${escaped(wishes.folder)}</h1>
    <main>
      ${shown.map((entry) => figure(wishes, entry)).join('\n      ')}
    </main>
  </body>
</html>
`;

module.exports = { page };
