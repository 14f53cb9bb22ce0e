// How long tests wait for what must come: far above what it takes, also on a machine that is
// busy with other things. Only a failure takes that long.
export const LIMIT_MS = 480_000;
