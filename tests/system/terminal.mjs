// Runs quill in a terminal, and reads its screen.
import assert from 'node:assert/strict';
import { execFileSync, spawnSync } from 'node:child_process';
import path from 'node:path';

import { LIMIT_MS } from '../limits.mjs';
import { folder } from './harness.mjs';

/** A terminal with its own tmux server, in which quill runs. */
export class Terminal {
  constructor(args, { columns = 80, rows = 24, env = [] } = {}) {
    this.socket = path.join(folder(), 'tmux');
    const command = ['env', ...env, path.join(process.env.QUILL_BUILD, 'bin', 'quill'), ...args]
      .map((word) => `'${word.replaceAll("'", "'\\''")}'`).join(' ');
    this.tmux('-f', '/dev/null', 'new-session', '-d', '-s', 'quill', '-x', columns, '-y', rows,
      `${command}; echo ended with $?; exec sleep 1000`);
  }

  tmux(...words) {
    return execFileSync('tmux', ['-u', '-S', this.socket, ...words.map(String)], { encoding: 'utf8' });
  }

  keys(...keys) { this.tmux('send-keys', '-t', 'quill', ...keys); }

  screen() { return this.tmux('capture-pane', '-p', '-t', 'quill'); }

  /** Waits until the screen matches; returns its lines. */
  async shows(pattern) {
    for (const end = Date.now() + LIMIT_MS; ;) {
      const screen = this.screen();
      if (pattern.test(screen)) {
        return screen.split('\n');
      }
      if (Date.now() > end) {
        assert.fail(`never showed ${pattern}:\n${screen}`);
      }
      await new Promise((resolve) => setTimeout(resolve, 50));
    }
  }

  close() { spawnSync('tmux', ['-S', this.socket, 'kill-server']); }
}

/**
 * Runs quill in a terminal and takes steps there: {type: a line to enter, if any; shows: the
 * pattern to wait for}. Returns the screen at the end.
 */
export async function dialogue(args, shape, steps) {
  const terminal = new Terminal(args, shape);
  try {
    for (const { type, shows } of steps) {
      if (type) {
        terminal.keys('-l', type);
        terminal.keys('Enter');
      }
      await terminal.shows(shows);
    }
    return terminal.screen();
  } finally {
    terminal.close();
  }
}
