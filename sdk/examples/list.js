'use strict';
// Opens a folder of media, waits until its list is ready, and prints its items.
//
//     quill sdk/examples/list.js FOLDER [--all] [--json]

const path = require('node:path');
const { LIST_EVENTS, ITEM_TYPES, describeResult } = require('../codes.js');
const { count, fit, printable, size } = require('./terminal.js');

const SHOWN = 100; // items printed without --all

const USAGE = `Usage: quill list.js FOLDER [--all] [--json]

Opens FOLDER as a media list and prints the items in it.
  --all    print every item, not the first ${SHOWN} only
  --json   print one line of JSON per item, as the framework describes it
`;

function fail(message) {
  process.stderr.write(`list: ${message}\n`);
  process.exit(1);
}

const bridge = new MRBBridge();

/** Sends a command and returns its data; throws when it fails. */
function call(method, request, ...callback) {
  const answer = JSON.parse(bridge[method](...callback, JSON.stringify(request)));
  if (answer.return_ecode !== 0) {
    throw Object.assign(new Error(`${method}: ${describeResult(answer.return_ecode)}`), { code: answer.return_ecode });
  }
  return answer.return_data;
}

/** Opens a list; resolves to {agent, summary} when it is complete. */
function openFolder(folder) {
  return new Promise((resolve, reject) => {
    const onEvent = (text) => {
      const event = JSON.parse(text);
      const details = JSON.parse(event.param_server_data || '{}');
      if (event.param_event === LIST_EVENTS.READY) {
        resolve({ agent: event.param_agent, summary: details });
      } else if (event.param_event === LIST_EVENTS.FAILED) {
        reject(new Error(details.message ?? details.error));
      } else if (event.param_event === LIST_EVENTS.GROWN && process.stderr.isTTY) {
        process.stderr.write(`\r${count(details.item_count, 'item')} so far… `);
      }
    };
    const request = {
      param_source_name: 'SOURCE_MSC',
      param_scan_path: folder,
      param_content_type: 'ALL',
      param_sort_category: 'FOLDER',
    };
    try {
      call('mrb_request_list_v2', request, onEvent);
    } catch (error) {
      reject(error);
    }
  });
}

const item = (agent, index) => JSON.parse(call('mrb_get_item_v2', { param_agent: agent, param_index: index }));

function printSummary(folder, agent, summary, milliseconds) {
  const counts = JSON.parse(call('mrb_get_item_count_v2', { param_agent: agent, get_item_count_for_each_type: true }));
  const kinds = [
    [counts.item_count_folder, 'folder'],
    [counts.item_count_image, 'picture'],
    [counts.item_count_music, 'song'],
    [counts.item_count_video, 'video'],
    [counts.item_count_m3u, 'playlist'],
  ];
  console.log(`${printable(folder)}`);
  console.log(`${count(counts.item_count_all, 'item')} in ${milliseconds} ms: ` +
              kinds.map(([number, name]) => count(number, name)).join(', '));
  if (summary.unreadable > 0) {
    console.log(`${count(summary.unreadable, 'folder')} could not be read`);
  }
  console.log();
  return counts.item_count_all;
}

function printItem(folder, { name, path: file, type, type_name: kind, size: bytes, modified, mime_type: mime }) {
  const depth = path.relative(folder, file).split(path.sep).length - 1;
  const indented = `${'  '.repeat(depth)}${printable(name)}${type === ITEM_TYPES.FOLDER ? '/' : ''}`;
  if (type === ITEM_TYPES.FOLDER) {
    console.log(`  ${indented}`);
    return;
  }
  console.log(`  ${fit(indented, 44)} ${kind.padEnd(9)}${size(bytes).padStart(9)}  ` +
              `${(modified ?? '').slice(0, 10).padEnd(10)}  ${mime}`);
}

async function main() {
  const flags = process.argv.slice(2).filter((argument) => argument.startsWith('--'));
  const [folder, ...more] = process.argv.slice(2).filter((argument) => !argument.startsWith('--'));
  if (flags.includes('--help')) {
    process.stdout.write(USAGE);
    process.exit(0);
  }
  const unknown = flags.find((flag) => !['--all', '--json'].includes(flag));
  if (unknown !== undefined) {
    fail(`unknown option ${unknown}\n\n${USAGE}`);
  }
  if (folder === undefined || more.length > 0) {
    fail(`give one folder\n\n${USAGE}`);
  }

  const absolute = path.resolve(folder);
  const began = performance.now();
  const { agent, summary } = await openFolder(absolute).catch((error) => fail(`${printable(absolute)}: ${error.message}`));
  const milliseconds = Math.round(performance.now() - began);
  if (process.stderr.isTTY) {
    process.stderr.write('\r\x1b[K');
  }

  if (flags.includes('--json')) {
    const total = call('mrb_get_item_count_v2', { param_agent: agent });
    for (let index = 0; index < total; index += 1) {
      console.log(JSON.stringify(item(agent, index)));
    }
  } else {
    const total = printSummary(absolute, agent, summary, milliseconds);
    const shown = flags.includes('--all') ? total : Math.min(total, SHOWN);
    for (let index = 0; index < shown; index += 1) {
      printItem(absolute, item(agent, index));
    }
    if (shown < total) {
      console.log(`  … and ${count(total - shown, 'more item')} (--all prints them)`);
    }
    if (total > 0) {
      let index = 0;
      while (index < total - 1 && item(agent, index).type === ITEM_TYPES.FOLDER) {
        index += 1;
      }
      console.log('\nOne item as the framework describes it:');
      console.log(JSON.stringify(item(agent, index), null, 2));
    }
  }
  // The function registered for the list would keep the program alive. Not
  // process.exit(): buffered output may still have to be written.
  quill.unref(bridge);
}

// A reader such as head may close the pipe early: that is not an error.
process.stdout.on('error', (error) => process.exit(error.code === 'EPIPE' ? 0 : 1));
main();
