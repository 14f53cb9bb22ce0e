// Devices as scripts see them: the methods of MRBBridge and their JSON texts.
// docs/script-api.md has the details.

/** A USB stick or a camera: an element of a list, and part of a notification. */
interface UsbDevice {
  storage_id: string;
  storage_name: string;
  /** Bytes, in decimal; BigInt() holds every size. Both "0": not known, or for a camera not known yet: see STORAGE_EVENTS.CHANGED. */
  storage_availablesize: string;
  storage_totalsize: string;
  storage_mountpath: string;
  storage_filesystem: number;
  storage_serialnumber: string;
  storage_vendor: string;
  storage_index: number;
  storage_address: number;
  storage_bus: number;
  storage_partitionlabel: string;
  storage_class: number;
}

/** A media server of the network. */
interface DlnaServer {
  storage_id: string;
  storage_name: string;
  storage_ip: string;
  storage_bOrvaneDev: boolean;
}

/** "return_data" of a list, parsed; null when there is no device. */
type DeviceList<Device> = { storage_devices: Device[] } | null;

/** What a function for arrivals and removals receives, parsed. */
interface DeviceNotification<Device> {
  /** STORAGE_EVENTS names the numbers of "storage_event". */
  storage_devices: [{ storage_event: number } & Device];
}

/** What the function of the DLNA service receives, parsed. */
interface ServiceNotification {
  /** 20: it has started. 21: any other state. */
  param_event: 20 | 21;
}

/** What a method returns, parsed. */
interface DeviceAnswer {
  /** 0 is success, 2 the bridge's own refusal, anything else the framework's code. */
  return_ecode: number;
  /** With a list only: 4, a text. */
  return_type?: 4;
  /** With a list only: the text of a DeviceList. */
  return_data?: string;
}

declare var MRBBridge: { prototype: MRBBridge; new (): MRBBridge };

interface MRBBridge {
  /** Returns a DeviceAnswer with a DeviceList of UsbDevice: sticks. */
  mrb_get_usb_list(): string;
  /** The same for cameras. */
  mrb_get_ptp_list(): string;
  /** Returns a DeviceAnswer with a DeviceList of DlnaServer. */
  mrb_get_dlna_list(): string;

  /** The function receives a DeviceNotification of UsbDevice for each stick and camera. */
  mrb_set_usb_callback(notify: (notification: string) => void): string;
  mrb_unset_usb_callback(): string;
  /** The function receives a DeviceNotification of DlnaServer. */
  mrb_set_dlna_callback(notify: (notification: string) => void): string;
  mrb_unset_dlna_callback(): string;

  /** The function receives a ServiceNotification for each state, also while the service stops. */
  mrb_Init_dlna_service(notify: (notification: string) => void): string;
  mrb_finalize_dlna_service(): string;
}
