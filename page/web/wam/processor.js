// SPDX-License-Identifier: ISC
// The Web Audio Module's part in the audio worklet. The kit takes the host's events apart at their
// samples; moves of knobs take the amplifier's own 12 ms.
import {LiveAmp} from '../live_amp.js';

const kModule = 'quellard'; // as in descriptor.json
const {WamProcessor, WamParameterInfo} = globalThis.webAudioModules.getModuleScope(kModule);

class QuellardProcessor extends WamProcessor {
  constructor(options) {
    super(options);
    const {module, parameters} = options.processorOptions;
    this.described = parameters;
    this.amp = new LiveAmp(module, [], sampleRate, false);
    this.post = (levels) => this.port.postMessage({levels});
  }

  _generateWamParameterInfo() {
    return Object.fromEntries(
      this.described.map(({index, symbol, ...info}) => [symbol, new WamParameterInfo(symbol, info)]),
    );
  }

  _initialize() {
    super._initialize();
    this.played = this.described.map(() => NaN);
  }

  adoptValues() {
    this.described.forEach(({index, symbol}, i) => {
      const {value} = this._parameterState[symbol];
      if (value === this.played[i]) return;
      this.played[i] = value;
      this.amp.setControl(index, value);
    });
  }

  _process(begin, end, [[input]], [[output]]) {
    this.adoptValues();
    this.amp.play(input, output, begin, end);
    this.amp.tell(end - begin, this.post);
  }
}

registerProcessor(kModule, QuellardProcessor);
