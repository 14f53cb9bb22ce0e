// A root file system of Debian 12 with nothing in it that a package of ours does not bring:
// made by mmdebstrap, from the mirrors that this machine's apt uses. What is fetched stays in
// build/bare-root for the next run. Needs root's rights.

import assert from 'node:assert/strict';
import { createHash } from 'node:crypto';
import { existsSync, mkdirSync, mkdtempSync, readdirSync, renameSync, rmSync, writeFileSync } from 'node:fs';
import { tmpdir } from 'node:os';
import { join } from 'node:path';

import { root, succeed } from '../install/harness.mjs';
import { run } from '../runner/process.mjs';

const RELEASE = 'bookworm';
const kept = join(root, 'build', 'bare-root');

/** The lines of a sources.list for Debian 12, as the machine has them. */
async function sources() {
    const list = () => succeed('apt-get', ['indextargets', '--format', 'deb $(REPO_URI) $(RELEASE) $(COMPONENT)',
        'Origin: Debian', 'Created-By: Packages']);
    if (!(await list())) await succeed('apt-get', ['update']); // it knows none before that
    const lines = [...new Set((await list()).split('\n'))].filter((line) => line.split(' ')[2]?.startsWith(RELEASE));
    assert.ok(lines.length > 0, `apt of this machine has no source of Debian's ${RELEASE}`);
    return `${lines.join('\n')}\n`;
}

/** How the machine fetches: proxies and the like. */
async function fetching() {
    const options = await succeed('apt-config', ['dump', 'Acquire']);
    return options.split('\n').filter((line) => !/^Acquire::(IndexTargets|Changelogs)/.test(line)).join('\n');
}

/** The archive of a bare root, made where there is none of these sources. */
async function archive() {
    const [list, options] = [await sources(), await fetching()];
    const name = `${createHash('sha256').update(list).update(options).digest('hex').slice(0, 16)}.tar`;
    mkdirSync(join(kept, 'archives'), { recursive: true });
    const file = join(kept, name);
    if (existsSync(file)) return file;
    for (const old of readdirSync(kept).filter((entry) => entry.includes('.tar'))) rmSync(join(kept, old));
    const work = mkdtempSync(join(tmpdir(), 'quill-bare-'));
    writeFileSync(join(work, 'sources.list'), list);
    writeFileSync(join(work, 'apt.conf'), options);
    await succeed('mmdebstrap', ['--quiet', '--mode=root', '--variant=minbase', '--format=tar', '--skip=cleanup/apt/lists',
        '--dpkgopt=force-unsafe-io', `--aptopt=${join(work, 'apt.conf')}`, RELEASE, `${file}.new`, join(work, 'sources.list')],
    { env: { TMPDIR: work }, seconds: 1200 });
    renameSync(`${file}.new`, file); // whole, or not at all
    return file;
}

// In namespaces of mounts and processes that end with the command: $0 the root, $1 the kept
// packages, then the words for chroot.
const INSIDE = `mount -t proc proc "$0/proc" && mount --rbind /dev "$0/dev" &&
    mount --bind "$1" "$0/var/cache/apt/archives" && shift && exec chroot "$@"`;
// No variable of this machine but those of its proxies.
const ENVIRONMENT = ['PATH=/usr/sbin:/usr/bin:/sbin:/bin', 'LC_ALL=C.UTF-8', 'DEBIAN_FRONTEND=noninteractive',
    ...['http_proxy', 'https_proxy', 'no_proxy'].filter((name) => process.env[name]).map((name) => `${name}=${process.env[name]}`)];

/** Makes a bare root in a new folder, with a user `viewer`. */
export async function makeBareRoot() {
    const folder = mkdtempSync(join(tmpdir(), 'quill-bare-'));
    await succeed('tar', ['--numeric-owner', '-xpf', await archive(), '-C', folder, '--exclude=./dev/*']);
    await succeed('cp', ['/etc/resolv.conf', join(folder, 'etc', 'resolv.conf')]);
    // No package starts a service.
    writeFileSync(join(folder, 'usr', 'sbin', 'policy-rc.d'), '#!/bin/sh\nexit 101\n', { mode: 0o755 });

    const command = (options, home, words) => run('unshare', ['--mount', '--pid', '--fork', '--kill-child', 'sh', '-c', INSIDE,
        folder, join(kept, 'archives'), ...options, folder, 'env', '-i', ...ENVIRONMENT, `HOME=${home}`, ...words], { cwd: '/', seconds: 1200 });
    const checked = async (options, home, words) => {
        const { output, ended } = await command(options, home, words);
        assert.equal(ended, '', `${words.join(' ')}\n${output}`);
        return output;
    };
    const bare = {
        folder,
        /** Runs a command of root's; it must succeed. Returns what it printed. */
        asRoot: (...words) => checked([], '/root', words),
        /** The same as the user, in the user's home. */
        asUser: (...words) => checked(['--userspec=viewer:viewer'], '/home/viewer', ['sh', '-c', 'cd && exec "$@"', 'sh', ...words]),
        /** A shell command of a document, as root: without questions, and with what is needed alone. */
        shell: (text, cwd) => checked([], '/root', ['bash', '-euc', `cd ${cwd}\n${text}`]),
    };
    writeFileSync(join(folder, 'etc', 'apt', 'apt.conf.d', 'zz-tests'),
        'APT::Get::Assume-Yes "true";\nAPT::Install-Recommends "false";\n');
    await bare.asRoot('useradd', '--create-home', 'viewer');
    await bare.asRoot('apt-get', 'update');
    await bare.asRoot('apt-get', 'autoclean'); // of what is kept
    return bare;
}
