'use strict';
// The page of a contact sheet.

const path = require('node:path');

const STYLE = `body { margin: 2em; font: 15px/1.4 system-ui, sans-serif; background: #16181c; color: #dfe3e8; }
    h1, h2 { font-weight: 600; overflow-wrap: anywhere; }
    h1 { font-size: 1.5em; }
    h2 { font-size: 1em; margin: 2em 0 .8em; padding-top: .6em; border-top: 1px solid #31363f; color: #a9b1bc; }
    section { display: flex; flex-wrap: wrap; gap: 1.2em; align-items: flex-end; }
    figure { margin: 0; }
    a { display: flex; flex-wrap: wrap; gap: 3px; align-items: flex-end; text-decoration: none; }
    img { max-width: 100%; }
    figcaption { margin-top: .3em; overflow: hidden; text-overflow: ellipsis; white-space: nowrap; }
    .none { display: grid; place-items: center; background: #262a31; color: #8d96a3; }`;

const ENTITIES = { '&': '&amp;', '<': '&lt;', '>': '&gt;', '"': '&quot;', "'": '&#39;' };

/** A text as a page shows it: a file's name may hold markup and control characters. */
const escaped = (text) => text.replace(/[&<>"']/g, (letter) => ENTITIES[letter])
  .replace(/[\p{Cc}\u202a-\u202e\u2066-\u2069]/gu, '\ufffd');

/** A path as a relative link; the dot keeps a name with a colon from being a scheme. */
const link = (from, to) => {
  const steps = path.relative(from, to).split(path.sep).map(encodeURIComponent);
  return `./${steps.join('/')}`.replaceAll("'", '%27');
};

/** A moment of a video, as in 1:02.5. */
const moment = (milliseconds) => {
  const seconds = (milliseconds % 60_000) / 1000;
  return `${Math.floor(milliseconds / 60_000)}:${seconds.toFixed(1).padStart(4, '0')}`;
};

const GAP = 3; // pixels between the frames of a video

function figure({ output, size }, { file, bitmaps, width, height, times }) {
  const name = escaped(path.basename(file.path));
  const pictures = bitmaps.map((bitmap, frame) => {
    const title = bitmaps.length > 1 ? ` title="${moment(times[frame])}"` : '';
    return `<img src="${escaped(bitmap)}" width="${width}" height="${height}"${title} loading="lazy" ` +
      `alt="${frame === 0 ? name : ''}">`;
  });
  const none = `<span class="none" style="width: ${size}px; height: ${Math.round(size / 2)}px">no thumbnail</span>`;
  const widest = Math.max(size, (width ?? 0) * bitmaps.length + GAP * (bitmaps.length - 1));
  return `<figure style="max-width: ${widest}px">
        <a href="${link(output, file.path)}">${pictures.join('') || none}</a>
        <figcaption title="${name}">${name}</figcaption>
      </figure>`;
}

/** The entries of one folder, under its name unless it is the top folder. */
function section(options, folder, shown) {
  const heading = folder === options.folder ? '' : `<h2>${escaped(path.relative(options.folder, folder))}</h2>\n    `;
  return `${heading}<section>
      ${shown.map((entry) => figure(options, entry)).join('\n      ')}
    </section>`;
}

/** The entries by their folders, which come in the order of their first entries. */
function byFolder(shown) {
  const folders = new Map();
  for (const entry of shown) {
    const folder = path.dirname(entry.file.path);
    folders.set(folder, [...(folders.get(folder) ?? []), entry]);
  }
  return [...folders];
}

/**
 * The page for `shown`, a list of {file, bitmaps, width, height, times}, the last in milliseconds.
 * `options`: {folder, output, size}.
 */
const page = (options, shown) => `<!doctype html>
<html lang="en">
  <head>
    <meta charset="utf-8">
    <meta name="viewport" content="width=device-width">
    <title>${escaped(path.basename(options.folder))}</title>
    <style>
    ${STYLE}
    </style>
  </head>
  <body>
    <h1>${escaped(options.folder)}</h1>
    ${byFolder(shown).map(([folder, entries]) => section(options, folder, entries)).join('\n    ')}
  </body>
</html>
`;

module.exports = { page };
