// Finds the media files below a folder with Grilo's file-system source, with name,
// address, size and time of each: the job of a list, as another media library does
// it. Run in gjs with the folder; prints how many files it found and how many
// milliseconds that took.
imports.gi.versions.Grl = '0.3';
const { GLib, Grl } = imports.gi;
const System = imports.system;

Grl.init([]);
const registry = Grl.Registry.get_default();
const config = Grl.Config.new('grl-filesystem', null);
config.set_string('base-uri', GLib.filename_to_uri(ARGV[0], null));
registry.add_config(config);
registry.load_all_plugins(false);
registry.activate_plugin_by_id('grl-filesystem');
const source = registry.lookup_source('grl-filesystem');
if (source === null) {
    printerr('Grilo has no file-system source.');
    System.exit(1);
}

const keys = [Grl.METADATA_KEY_ID, Grl.METADATA_KEY_TITLE, Grl.METADATA_KEY_URL, Grl.METADATA_KEY_SIZE,
    Grl.METADATA_KEY_MODIFICATION_DATE, Grl.METADATA_KEY_MIME];
const options = Grl.OperationOptions.new(null);
options.set_resolution_flags(Grl.ResolutionFlags.IDLE_RELAY | Grl.ResolutionFlags.FAST_ONLY);
const loop = GLib.MainLoop.new(null, false);
const folders = [null];
let found = 0;

/** Browses one folder after the other, since the source gives one level at a time. */
function next() {
    if (folders.length === 0) {
        loop.quit();
        return;
    }
    source.browse(folders.pop(), keys, options, (_source, _id, media, remaining, error) => {
        if (error) {
            printerr(error.message);
            System.exit(1);
        }
        if (media && media.is_container())
            folders.push(media);
        else if (media)
            found += 1;
        if (remaining === 0)
            next();
    });
}

const began = GLib.get_monotonic_time();
next();
loop.run();
print(`${found} ${(GLib.get_monotonic_time() - began) / 1000}`);
