// What tests need of the system that containers and sandboxes may refuse, found out
// once a run. Tests that need what is missing here skip themselves, with its reason.

import { run } from './process.mjs';

const MOUNT = ['mount', '-t', 'tmpfs', 'tmpfs', '/tmp'];
const LOOPBACK = ['ip', 'link', 'set', 'lo', 'up'];
const AS_ROOT_OF_ITS_OWN = ['unshare', '--user', '--map-root-user'];

/*
 * The name of each in QUILL_TESTS_MISSING, why tests are skipped without it, and the
 * commands of which one must succeed. The framework's tests use the same commands, see
 * framework/support/own_process.cpp.
 */
export const NEEDS = {
    mounts: {
        reason: 'no mount namespaces',
        ways: [[...AS_ROOT_OF_ITS_OWN, '--mount', ...MOUNT], ['unshare', '--mount', ...MOUNT]],
    },
    networks: {
        reason: 'no network namespaces',
        ways: [[...AS_ROOT_OF_ITS_OWN, '--net', ...LOOPBACK], ['unshare', '--net', ...LOOPBACK]],
    },
    'user-networks': {
        reason: 'no network namespaces of users',
        ways: [[...AS_ROOT_OF_ITS_OWN, '--net', ...LOOPBACK]],
    },
    limits: {
        reason: 'no user namespaces with limits of their own',
        ways: [[...AS_ROOT_OF_ITS_OWN, 'sh', '-c', 'echo 99 >/proc/sys/user/max_inotify_watches']],
    },
    'block-devices': {
        reason: 'no block devices',
        ways: [['sh', '-c', 'find /dev -type b | grep -q .'], ['sh', '-c', 'mknod "$(mktemp -d)/disk" b 8 0']],
    },
    'bare-roots': {
        reason: 'no right to make a root file system',
        ways: [['unshare', '--mount', '--pid', '--fork', 'sh', '-c', 'mount -t proc proc /proc && chroot / true']],
    },
    terminals: {
        reason: 'no pseudo-terminals',
        ways: [['script', '--quiet', '--return', '--command', 'true', '/dev/null']],
    },
};

/** The names of the needs that the system does not meet, in the order above. */
export async function missingHere(needs = NEEDS) {
    const isMet = async ({ ways }) => {
        for (const [program, ...args] of ways) {
            if (!(await run(program, args, { seconds: 60 })).ended) return true;
        }
        return false;
    };
    const names = Object.keys(needs);
    const met = await Promise.all(names.map((name) => isMet(needs[name])));
    return names.filter((_, index) => !met[index]);
}
